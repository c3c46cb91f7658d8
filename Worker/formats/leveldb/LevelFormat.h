// What all of LevelDB's files have in common: checksums, and keys with their age.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Worker/formats/ByteReader.h"

namespace tidewell {

/// The outcome of reading.
enum class LevelCondition {
  kSound,
  kDamaged,     // the bytes are not what LevelDB wrote
  kTooLarge,    // the bytes could not be judged: that would take too much memory
  kUnreadable,  // the bytes could not be judged: reading failed, or the database is of another kind than this reads
};

/// The limit of memory for one database, in bytes. Browsers' databases take less than a hundredth of it.
inline constexpr std::size_t kLevelMaximalMemory = std::size_t{256} << 20;
/// The limit of one block of a table, which holds at least one whole value, or of one record of a log, in bytes,
/// uncompressed.
inline constexpr std::size_t kLevelMaximalBlock = std::size_t{64} << 20;

/// The checksum as stored in files: CRC-32C of both texts in sequence, rotated and increased by a constant, since
/// checksums are also made of bytes that hold checksums.
std::uint32_t levelChecksum(std::string_view bytes, std::string_view more = {});

/// The same, of any number of texts in sequence.
class LevelChecksum {
 public:
  void add(std::string_view bytes);
  std::uint32_t value() const;

 private:
  std::uint32_t rest_ = ~std::uint32_t{0};
};

/// A key as stored in tables: the database's own key, and 8 bytes with the age and the kind of the entry.
struct LevelKey {
  std::string_view key;
  std::uint64_t sequence = 0;  // higher is younger; 56 bits
  bool isDeletion = false;

  /// Absent when the bytes are no such key.
  static std::optional<LevelKey> from(std::string_view bytes);
  std::string bytes() const;
  /// No key comes before it.
  static std::string first();
};

/// The order in tables: by the key's bytes, the younger first. Negative, 0 or positive. Both must be such keys.
int compareLevelKeys(std::string_view one, std::string_view other);

}  // namespace tidewell
