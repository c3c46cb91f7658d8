// A store: a file or folder in which a browser keeps what sites have left, and how it is cleaned.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Worker/formats/Kept.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell {

/// The kinds of things that sites leave.
enum class StoreGroup { kCookies, kSiteStorage, kCaches };

/// Which versions of a browser a row is for. WorkerAppDelegate::clean() chooses the ages to clean.
enum class StoreAge {
  kCurrent,   // a store of today's versions
  kOld,       // one that older versions have left
  kReplaced,  // as kOld, for cleanings that leave out today's stores: a current row treats the same item with more care
};

/// Cleans a store: removes what sites have left in it. Does nothing when the store is missing.
class Treatment {
 public:
  using OfEverything = Outcome (*)(const std::string& path);
  using OfUnkept = Outcome (*)(const std::string& path, const Kept& kept);

  constexpr Treatment(std::nullptr_t) {}                               // NOLINT: of what is only named, never cleaned
  constexpr Treatment(OfEverything action) : ofEverything_(action) {}  // NOLINT: the tables name functions
  constexpr Treatment(OfUnkept action) : ofUnkept_(action) {}          // NOLINT

  /// A store that may hold something of a kept site is left while it is not known which these are.
  Outcome operator()(const std::string& path, const Kept& kept) const;

 private:
  OfEverything ofEverything_ = nullptr;
  OfUnkept ofUnkept_ = nullptr;
};

struct Store {
  StoreAge age;
  StoreGroup group;
  std::string_view path;  // in the folder that the table is for; "" for that folder itself
  Treatment treatment;
  std::string_view holds;  // a description, for readers of the table
};

}  // namespace tidewell
