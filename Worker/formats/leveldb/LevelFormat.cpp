#include "Worker/formats/leveldb/LevelFormat.h"

#include <array>

namespace tidewell {
namespace {

constexpr std::uint32_t kPolynomial = 0x82f63b78;  // Castagnoli's, the lowest bit first
constexpr std::uint32_t kMaskDelta = 0xa282ead8;
constexpr std::size_t kStride = 8;  // bytes at once
constexpr std::size_t kTagSize = 8;
constexpr std::uint64_t kHighestSequence = (std::uint64_t{1} << 56) - 1;

using ChecksumTables = std::array<std::array<std::uint32_t, 256>, kStride>;

constexpr ChecksumTables makeChecksumTables() {
  ChecksumTables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit) rest = (rest >> 1) ^ ((rest & 1) != 0 ? kPolynomial : 0);
    tables[0][byte] = rest;
  }
  for (std::size_t table = 1; table < kStride; ++table) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = tables[table - 1][byte];
      tables[table][byte] = (before >> 8) ^ tables[0][before & 0xff];
    }
  }
  return tables;
}

constexpr ChecksumTables kChecksums = makeChecksumTables();

std::uint32_t extend(std::uint32_t rest, std::string_view bytes) {
  const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
  std::size_t left = bytes.size();
  for (; left >= kStride; left -= kStride, at += kStride) {
    rest ^= at[0] | std::uint32_t{at[1]} << 8 | std::uint32_t{at[2]} << 16 | std::uint32_t{at[3]} << 24;
    rest = kChecksums[7][rest & 0xff] ^ kChecksums[6][(rest >> 8) & 0xff] ^ kChecksums[5][(rest >> 16) & 0xff] ^
           kChecksums[4][rest >> 24] ^ kChecksums[3][at[4]] ^ kChecksums[2][at[5]] ^ kChecksums[1][at[6]] ^
           kChecksums[0][at[7]];
  }
  for (; left > 0; --left, ++at) rest = (rest >> 8) ^ kChecksums[0][(rest ^ *at) & 0xff];
  return rest;
}

std::uint64_t tagOf(std::string_view key) {
  return littleEndian(key.substr(key.size() - kTagSize));
}

}  // namespace

std::uint32_t levelChecksum(std::string_view bytes, std::string_view more) {
  LevelChecksum checksum;
  checksum.add(bytes);
  checksum.add(more);
  return checksum.value();
}

void LevelChecksum::add(std::string_view bytes) {
  rest_ = extend(rest_, bytes);
}

std::uint32_t LevelChecksum::value() const {
  const std::uint32_t checksum = ~rest_;
  return (checksum >> 15 | checksum << 17) + kMaskDelta;
}

std::optional<LevelKey> LevelKey::from(std::string_view bytes) {
  if (bytes.size() < kTagSize) return std::nullopt;
  const std::uint64_t tag = tagOf(bytes);
  if ((tag & 0xff) > 1) return std::nullopt;
  return LevelKey{bytes.substr(0, bytes.size() - kTagSize), tag >> 8, (tag & 0xff) == 0};
}

std::string LevelKey::bytes() const {
  std::string bytes(key);
  appendFixedNumber(bytes, sequence << 8 | (isDeletion ? 0U : 1U), kTagSize);
  return bytes;
}

std::string LevelKey::first() {
  return LevelKey{{}, kHighestSequence, false}.bytes();
}

int compareLevelKeys(std::string_view one, std::string_view other) {
  const int order = one.substr(0, one.size() - kTagSize).compare(other.substr(0, other.size() - kTagSize));
  if (order != 0) return order;
  const std::uint64_t tag = tagOf(one);
  const std::uint64_t otherTag = tagOf(other);
  if (tag == otherTag) return 0;
  return tag > otherTag ? -1 : 1;
}

}  // namespace tidewell
