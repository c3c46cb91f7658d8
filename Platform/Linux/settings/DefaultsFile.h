// One settings file: an SQLite database with a row for each key.
//
// Several processes and threads use the same file at once, and any of them may be killed at any moment: the database
// runs with a write-ahead log, and what a killed writer left unfinished is ignored. One connection is kept open,
// guarded by a mutex: a read takes about two microseconds and a write about ten, and an idle process holds one small
// cache.
//
// A file that turns out to be damaged is renamed to "….damaged-N", which is logged, and a fresh one takes its place. A
// file that was replaced or deleted by someone else is noticed at the next operation. Failures show as absent values
// and `false`; a write that had to be dropped is logged once.
#pragma once

#include <sqlite3.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "Platform/Log.h"
#include "Platform/Result.h"
#include "Platform/Value.h"

namespace platform::linux_ {

class DefaultsFile {
 public:
  /// Opens nothing yet. The log must outlive the object.
  DefaultsFile(std::string path, Log& log);
  ~DefaultsFile();
  DefaultsFile(const DefaultsFile&) = delete;
  DefaultsFile& operator=(const DefaultsFile&) = delete;

  const std::string& path() const { return path_; }
  bool exists() const;

  // None of these creates the file except write().

  std::optional<Value> read(const std::string& key);
  /// The same, but an error when a value can't be read, or when there is none in a file that has taken the place of a
  /// damaged one while this object lived.
  Result<std::optional<Value>> readChecked(const std::string& key);
  Value::Dictionary readAll();
  bool write(const std::string& key, const Value& value);
  bool erase(const std::string& key);

  /// Flushes everything that was written to the disk.
  bool checkpoint();

  /// Removes every key. The file stays: others may have it open.
  bool eraseAll();

 private:
  enum class Outcome { done, absent, damaged, failed };
  enum class Creation { existing, createIfMissing };

  Outcome attempt(Creation creation, const std::function<int()>& work);
  Outcome attemptOnce(Creation creation, const std::function<int()>& work);
  Outcome open(Creation creation);
  int prepareSchema();
  void makeIndex();
  void setHeldUp(bool isHeldUp);
  bool isStillTheSameFile() const;
  void close();
  void setAside();
  bool isSound();
  int run(sqlite3_stmt* statement);
  sqlite3_stmt* statement(sqlite3_stmt*& cached, const char* sql);
  void logOnce(const std::string& text);

  const std::string path_;
  Log& log_;
  std::mutex mutex_;
  sqlite3* database_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
  sqlite3_stmt* replace_ = nullptr;
  sqlite3_stmt* delete_ = nullptr;
  std::uint64_t device_ = 0;
  std::uint64_t inode_ = 0;
  bool loggedFailure_ = false;
  bool isHeldUp_ = false;
  bool wasDamaged_ = false;
};

}  // namespace platform::linux_
