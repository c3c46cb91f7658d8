// What looks into the bytes of a database's files, and decides what becomes of them. LevelReading does so.
#pragma once

#include <cstdint>

#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelWriter.h"

namespace tidewell {

/// What is to be done with a database.
enum class LevelVerdict : std::uint8_t {
  kLeave,    // it can't be judged, or is damaged and may hold something precious
  kIsFine,   // nothing has to go
  kRemove,   // nothing stays
  kRewrite,  // something stays
};

/// For one database. One thread.
class LevelReader {
 public:
  virtual ~LevelReader() = default;

  /// Reads everything. The folder must outlive the reader.
  virtual LevelVerdict judge(const LevelFolder& folder) = 0;

  /// After kRewrite: builds a fresh database of what stays. False when reading or writing fails, or when the database
  /// has changed since it was judged.
  virtual bool rewrite(LevelOutput& output, std::uint64_t firstNumber) = 0;

  /// Whether nothing would have to go from what was built.
  virtual bool approves(const LevelFolder& fresh) = 0;

  /// Whether the database was left because of its bytes.
  virtual bool isUnreadable() const = 0;
};

}  // namespace tidewell
