// The manifest of a LevelDB database: which tables and logs make up the database, and which keys each table spans.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelFormat.h"

namespace tidewell {

struct LevelManifest {
  struct Table {
    std::uint64_t level = 0;  // in 0, tables may overlap; in each one above, none does
    std::uint64_t size = 0;   // in bytes
    std::string smallest;     // as in the table, with the age; a long one is cut when it is read, see LevelEdit
    std::string largest;      // likewise
  };

  std::uint64_t firstLog = 0;  // logs of lower numbers are obsolete, except for this one:
  std::uint64_t previousLog = 0;
  std::uint64_t nextNumber = 0;
  std::uint64_t lastSequence = 0;
  std::map<std::uint64_t, Table> tables;  // by number
  bool hasHistory = false;                // it records more than the present tables

  /// Reads the state at the end of the file. kUnreadable when the database has a key order of its own, even in a
  /// damaged file, as long as its beginning is intact.
  LevelCondition read(const LevelFile& file);

  /// The bytes of a manifest with this state.
  std::string bytes() const;

 private:
  LevelCondition apply(std::string_view edit);
  bool applyField(std::uint64_t tag, ByteReader& edit, bool& isForeign);
  bool addTable(ByteReader& edit);
};

}  // namespace tidewell
