// Reads a LevelDB database, judges it, and builds another one of what stays.
//
// The library's own reader is not used: it aborts the process on some damaged files, and allocates whatever a file asks
// for. Fresh tables are built by the library.
//
// Memory: see kLevelMaximalMemory and kLevelMaximalBlock; a database that would take more is treated as a damaged one.
// Usually it is about 10 MB and five times the largest key and value, however large the database.
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Worker/formats/leveldb/LevelReader.h"
#include "Worker/formats/leveldb/LevelSource.h"

namespace tidewell {

class LevelReading : public LevelReader {
 public:
  /// Whether an entry stays. It is called once for each entry, twice when there is damage, and more often for a key of
  /// more than 64 KB. For such a key it must depend on the key alone.
  using Selection = std::function<bool(std::string_view key, std::string_view value)>;
  /// Whether what must not be lost is in these bytes of a damaged database (LevelSearch.h).
  using Search = std::function<bool(std::string_view bytes)>;

  LevelReading(Selection isKept, Search isPrecious) : isKept_(std::move(isKept)), isPrecious_(std::move(isPrecious)) {}

  /// A damaged database is repaired first: all tables and logs in the folder count, whatever the manifest says. If a
  /// part can't be read, or if memory would not do, nothing stays, unless anything precious can still be read.
  LevelVerdict judge(const LevelFolder& folder) override;
  bool rewrite(LevelOutput& output, std::uint64_t firstNumber) override;
  /// It has built it.
  bool approves(const LevelFolder&) override { return true; }
  bool isUnreadable() const override { return isUnreadable_; }

 private:
  LevelCondition survey(LevelCondition opened);
  LevelVerdict verdictOn(const LevelFolder& folder);

  const Selection isKept_;
  const Search isPrecious_;
  std::unique_ptr<LevelSource> source_;
  std::vector<bool> stays_;  // by the entry's place in the order
  bool keepsAny_ = false;
  bool keepsAll_ = true;
  bool isUnreadable_ = false;
};

}  // namespace tidewell
