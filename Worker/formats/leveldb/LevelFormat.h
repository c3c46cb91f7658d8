// What all of LevelDB's files have in common: checksums, and keys with their age.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Worker/formats/ByteReader.h"

namespace tidewell {

/// How reading went.
enum class LevelCondition {
  kSound,
  kDamaged,     // the bytes are not what LevelDB wrote
  kUnreadable,  // nothing is said about the bytes: reading failed, it would take too much memory, or another kind of
                // database than those that this reads wrote them
};

/// All that is held in memory of one database, in bytes. Browsers' databases take less than a hundredth of it.
inline constexpr std::size_t kLevelMaximalMemory = std::size_t{256} << 20;
/// One block of a table, which holds at least one whole value, or one record of a log, in bytes, uncompressed.
inline constexpr std::size_t kLevelMaximalBlock = std::size_t{64} << 20;

/// The checksum as it stands in files: CRC-32C of both one after the other, turned and shifted so that the checksum of
/// bytes that hold checksums is none of these.
std::uint32_t levelChecksum(std::string_view bytes, std::string_view more = {});

/// A key as it stands in tables: the database's own key, and in 8 bytes the age and what the entry is.
struct LevelKey {
  std::string_view key;
  std::uint64_t sequence = 0;  // higher is younger; 56 bits
  bool isDeletion = false;

  /// Absent when these bytes are none.
  static std::optional<LevelKey> from(std::string_view bytes);
  std::string bytes() const;
  /// No key comes before it.
  static std::string first();
};

/// The order in tables: by the key's bytes, the younger first. Negative, 0 or positive. Both must be such keys.
int compareLevelKeys(std::string_view one, std::string_view other);

}  // namespace tidewell
