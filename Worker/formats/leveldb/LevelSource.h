// The entries of a LevelDB database in its folder. Read-only.
//
// Memory: for each table that overlaps the current position one block, the places of its blocks, and a window of at
// most 64 KB; the logs as a whole. All of it stays below kLevelMaximalMemory, or the database is too large.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelManifest.h"
#include "Worker/formats/leveldb/LevelRun.h"

namespace tidewell {

/// Bytes; above any key of a browser.
inline constexpr std::size_t kLongestOrderedKey = std::size_t{64} << 10;

class LevelSource {
 public:
  /// Whether an entry is to be visited.
  using Selection = std::function<bool(std::string_view key, std::string_view value)>;

  /// The folder must outlive the object. An entry with a key of more than kLongestOrderedKey bytes that the selection
  /// does not want is passed over where it lies, before it is put in order: keys of that size in many tables could not
  /// be held in memory side by side. For such keys the selection must depend on the key alone.
  LevelSource(const LevelFolder& folder, Selection isWanted) : folder_(folder), isWanted_(std::move(isWanted)) {}

  /// Opens the tables and logs that the manifest names, as LevelDB would. Damage found later is returned by walk().
  LevelCondition open();

  /// Opens all tables and logs in the folder, as a repair would, for as much of each as is intact. Of a key that is in
  /// several places, the youngest entry counts. Never returns kDamaged, but see hasLoss().
  LevelCondition openAll();

  /// Returns whether the walk goes on.
  using Visitor = std::function<bool(std::string_view key, std::string_view value)>;

  /// Visits every entry in the order of the keys, the same each time. Entries read before damage have been visited.
  LevelCondition walk(const Visitor& visit);

  /// After openAll() and a whole walk: whether anything of the database was lost, as far as is known.
  bool hasLoss() const { return hasLoss_; }

  /// After a whole walk: whether entries were passed over.
  bool hasUnwanted() const { return hasUnwanted_; }

  /// After open() and a whole walk: whether its files hold nothing but the entries that were visited.
  bool isTidy() const { return isTidy_; }

 private:
  class Merge;
  struct Part {
    const LevelFile* file;
    std::uint64_t size;
    std::string smallest;
  };

  const LevelFile* currentManifest(LevelCondition& condition) const;
  LevelCondition addLogs(std::uint64_t first, std::uint64_t previous);

  const LevelFolder& folder_;
  const Selection isWanted_;
  std::vector<Part> tables_;
  LevelLogEntries logs_;
  bool isTolerant_ = false;
  bool hasLoss_ = false;
  bool hasUnwanted_ = false;
  bool isTidy_ = false;
};

}  // namespace tidewell
