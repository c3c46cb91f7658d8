// The readers of what sites wrote, each in a cell: with the same arguments and results as the functions of
// Worker/formats/ that do the work, and with "could not be read" where a cell ends, is late, or gives an answer that
// can't be right.
//
// What a cell answers is checked here by bytes and lengths alone: a text from which parts were taken must hold nothing
// that was not in it, in its order, and names must be in the text that names them. What takes a reader to be checked is
// read once more, in a second cell, in which nothing may be left to do. Any thread; nothing is thrown.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Cells.h"
#include "Worker/cells/CellRequest.h"
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

/// Who owns what: a short text in each of many files of one store. They are read together; where a cell fails, its
/// files are read again in halves, until only those are left that it fails on.
class OwnersInCell {
 public:
  /// What the function of Worker/formats/ returns: absent when the bytes name no owner.
  using Owner = std::optional<std::string>;
  /// Absent when a cell fails on the bytes.
  using Answer = std::optional<Owner>;

  /// One of the tasks of CellRequest.h that take many texts.
  explicit OwnersInCell(CellTask task) : task_(task) {}

  /// An answer for each.
  std::vector<Answer> ownersIn(std::span<const std::string_view> files);
  Answer ownerIn(std::string_view file) { return ownersIn({&file, 1})[0]; }

 private:
  bool read(std::span<const std::string_view> files, std::span<Answer> answers);
  void readInHalves(std::span<const std::string_view> files, std::span<Answer> answers);

  const CellTask task_;
  std::size_t failures_ = 0;
  std::unique_ptr<platform::Cell> cell_;
};

}  // namespace tidewell
