// A store of a browser: something in which it keeps what sites have left, and what becomes of that.
#pragma once

#include <string>
#include <string_view>

namespace tidewell {

/// The kinds of things that sites leave.
enum class StoreGroup { kCookies, kSiteStorage, kCaches };

/// What a row is for. Which of them a cleaning takes is decided in WorkerAppDelegate::clean().
enum class StoreAge {
  kCurrent,   // a store of today's versions
  kOld,       // one that older versions have left
  kReplaced,  // as kOld, for cleanings that leave out today's stores: a current row treats the same item with more care
};

/// What becomes of a store: removes what sites have left in it. Does nothing where there is none.
using Treatment = void (*)(const std::string& path);

struct Store {
  StoreAge age;
  StoreGroup group;
  std::string_view path;  // in the folder that the table is for; "" for that folder itself
  Treatment treatment;
  std::string_view holds;  // for people
};

}  // namespace tidewell
