// Entries in the order of their keys, from one source: a table, or the logs of a database.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelFormat.h"

namespace tidewell {

class LevelRun {
 public:
  virtual ~LevelRun() = default;

  /// Moves to the first entry, then to the next, or to the end. After damage, a further call moves to the next intact
  /// entry.
  virtual LevelCondition next() = 0;
  virtual bool atEnd() const = 0;

  /// The key with the age, valid until next(). Before the first next(), a lower bound of the run's keys.
  virtual std::string_view key() const = 0;
  virtual std::string_view value() const = 0;

  /// The memory that the run holds, in bytes.
  virtual std::size_t memory() const = 0;
};

/// The youngest entry of each key in a database's logs, which are read into memory. They are small, since LevelDB turns
/// a log of more than a few megabytes into a table.
class LevelLogEntries {
 public:
  /// Adds the entries of a log. `hasLoss` is set when a part of it is damaged; the rest is still added.
  LevelCondition add(const LevelFile& log, bool& hasLoss);

  bool empty() const { return entries_.empty(); }
  std::size_t memory() const { return memory_; }

 private:
  friend class LevelLogRun;
  struct Entry {
    std::uint64_t sequence = 0;
    bool isDeletion = false;
    std::string value;
  };

  LevelCondition addBatch(std::string_view batch);
  void addEntry(const LevelKey& key, std::string_view value);

  std::map<std::string, Entry, std::less<>> entries_;
  std::size_t memory_ = 0;  // in bytes
};

/// A run over the entries of logs, which must outlive it unchanged.
class LevelLogRun : public LevelRun {
 public:
  explicit LevelLogRun(const LevelLogEntries& entries) : entries_(entries.entries_), next_(entries_.begin()) {}

  LevelCondition next() override;
  bool atEnd() const override { return atEnd_; }
  std::string_view key() const override { return key_; }
  std::string_view value() const override { return value_; }
  std::size_t memory() const override { return key_.capacity(); }

 private:
  const std::map<std::string, LevelLogEntries::Entry, std::less<>>& entries_;
  std::map<std::string, LevelLogEntries::Entry, std::less<>>::const_iterator next_;
  bool atEnd_ = false;
  std::string key_ = LevelKey::first();
  std::string_view value_;
};

}  // namespace tidewell
