// Reads a LevelDB database in a cell. The worker reads bytes of its files and writes those of a fresh one, and looks
// into none of them.
//
// Which file is read and which is written the cell can't say: it knows files by their places in a list. How much it may
// read and write is bounded by what there is. What it has built is judged once more, in a second cell.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Cells.h"
#include "Worker/cells/LevelTalk.h"
#include "Worker/formats/ChromiumDatabases.h"
#include "Worker/formats/leveldb/LevelReader.h"
#include "Worker/keeping/KeptSites.h"

namespace tidewell {

class LevelInCell : public LevelReader {
 public:
  LevelInCell(ChromiumDatabase database, KeptSites sites) : database_(database), sites_(std::move(sites)) {}

  /// kLeave also when a cell fails.
  LevelVerdict judge(const LevelFolder& folder) override;
  bool rewrite(LevelOutput& output, std::uint64_t firstNumber) override;
  bool approves(const LevelFolder& fresh) override;
  bool isUnreadable() const override { return isUnreadable_; }

  /// After judge(): see readingOf(). Names as they may be in any folder.
  FolderNames takeFolders() { return std::move(folders_); }

 private:
  /// Serves the cell until it says something that is neither a question nor a file. Absent when it fails.
  std::optional<std::string> hearAnswer(LevelOutput* output);
  std::optional<std::string> replyTo(const LevelMessage& message, LevelOutput* output);
  std::optional<std::string> bytesFor(const LevelReadQuestion& question);
  /// Whether so much may still be moved.
  bool isAffordable(std::uint64_t bytes);

  const ChromiumDatabase database_;
  const KeptSites sites_;
  std::vector<LevelFile> files_;
  std::unique_ptr<platform::Cell> cell_;
  std::uint64_t budget_ = 0;  // bytes that may be moved yet
  FolderNames folders_;
  bool isUnreadable_ = false;
};

}  // namespace tidewell
