// Writes a fresh LevelDB database: tables of about 2 MB and a manifest, with nothing of an earlier database.
//
// The files are written one by one through the platform's files, so that no more than one table is held in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/Result.h"
#include "Worker/formats/leveldb/LevelManifest.h"

namespace tidewell {

class LevelWriter {
 public:
  /// Writes to a folder that exists. `firstNumber` and all above it are free as numbers of files.
  LevelWriter(std::string folder, std::uint64_t firstNumber);
  ~LevelWriter();
  LevelWriter(const LevelWriter&) = delete;
  LevelWriter& operator=(const LevelWriter&) = delete;

  // After the first error only takeBack() may be called.

  /// Adds an entry. Keys must come in the order of their bytes.
  std::error_code add(std::string_view key, std::string_view value);

  /// Writes the rest, and the manifest. makeCurrent() then makes the tables the database.
  std::error_code finish();
  std::error_code makeCurrent();

  /// Makes them the database in the place of the one that is there, in one step, and returns where the file is that has
  /// made that one the database. std::errc::not_supported where the file system can't: all is as it was.
  platform::Result<std::string> exchangeCurrent();

  /// Writes the file that processes lock, as LevelDB would when it opens the database.
  std::error_code makeLock();

  /// Removes the files that were written. Those that can't be removed are part of no database.
  void takeBack();

 private:
  struct Table;

  std::error_code finishTable();
  std::error_code create(const std::string& name, std::string_view contents);
  std::string current() const;

  const std::string folder_;
  const std::uint64_t manifestNumber_;
  std::uint64_t nextNumber_;
  LevelManifest manifest_;
  std::unique_ptr<Table> table_;  // null between two tables
  std::vector<std::string> created_;
};

}  // namespace tidewell
