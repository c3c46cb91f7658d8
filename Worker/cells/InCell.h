// The readers of what sites wrote, each in a cell: with the same arguments and results as the functions of
// Worker/formats/ that do the work, and with "could not be read" where a cell ends, is late, or gives an answer that
// can't be right.
//
// What a cell answers is checked here by bytes and lengths alone: a text from which parts were taken must hold nothing
// that was not in it, in its order, and names must be in the text that names them. What takes a reader to be checked is
// read once more, in a second cell, in which nothing may be left to do. Any thread; nothing is thrown.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Cells.h"
#include "Worker/formats/Kept.h"
#include "Worker/formats/LocalState.h"
#include "Worker/formats/Rewriting.h"
#include "Worker/formats/SessionCommands.h"

namespace tidewell {

class InCell {
 public:
  InCell() = delete;

  static Rewriting withoutSites(std::string_view preferences, const Kept& kept);
  static Rewriting withoutSiteData(std::string_view jsonlz4, const KeptSites& sites);
  static Rewriting withoutPageStates(std::string_view file, TabFile kind);

  /// Also false when a cell fails.
  static bool isReadableTabFile(std::string_view file);

  /// Empty when a cell fails.
  static ProfileMap profilesOfLocalState(std::string_view text);
  static std::vector<std::string> listedProfiles(std::string_view list);
};

/// Short texts in many files of one store, read in one cell after the other: each ends with the first that it fails on.
class OwnersInCell {
 public:
  /// What the function of Worker/formats/ returns. No answer when a cell fails.
  using Answer = std::optional<std::optional<std::string>>;

  Answer originOfCacheStorage(std::string_view indexTxt);
  Answer storageKeyOfCacheStorage(std::string_view indexTxt);
  Answer pickledText(std::string_view bytes);

 private:
  std::unique_ptr<platform::Cell> cell_;
};

}  // namespace tidewell
