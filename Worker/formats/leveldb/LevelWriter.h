// Builds the files of a fresh LevelDB database: tables of about 2 MB and a manifest, with nothing of an earlier
// database.
//
// They are passed on one by one, so that no more than one table is held in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <system_error>

#include "Worker/formats/leveldb/LevelManifest.h"

namespace tidewell {

/// Takes the files of a fresh database: its tables, each of which gets the next number, and then its manifest.
class LevelOutput {
 public:
  virtual ~LevelOutput() = default;
  virtual std::error_code addTable(std::string_view contents) = 0;
  virtual std::error_code addManifest(std::string_view contents) = 0;
};

class LevelWriter {
 public:
  /// The manifest gets the first number, the tables those after it.
  LevelWriter(LevelOutput& output, std::uint64_t firstNumber);
  ~LevelWriter();
  LevelWriter(const LevelWriter&) = delete;
  LevelWriter& operator=(const LevelWriter&) = delete;

  /// Does what the library does once in a process, with calls of the system that can be forbidden later.
  static void prepare();

  // After the first error nothing more may be called.

  /// Adds an entry. Keys must come in the order of their bytes.
  std::error_code add(std::string_view key, std::string_view value);

  /// Passes on the rest, and the manifest.
  std::error_code finish();

 private:
  struct Table;

  std::error_code finishTable();

  LevelOutput& output_;
  const std::uint64_t firstNumber_;
  std::uint64_t nextNumber_;
  LevelManifest manifest_;
  std::unique_ptr<Table> table_;  // null between two tables
};

}  // namespace tidewell
