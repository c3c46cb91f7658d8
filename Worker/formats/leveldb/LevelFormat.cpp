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

std::uint64_t littleEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (std::size_t index = bytes.size(); index > 0; --index) {
    number = number << 8 | static_cast<unsigned char>(bytes[index - 1]);
  }
  return number;
}

std::uint64_t tagOf(std::string_view key) {
  return littleEndian(key.substr(key.size() - kTagSize));
}

}  // namespace

std::optional<std::uint64_t> LevelBytes::number() {
  std::uint64_t number = 0;
  for (unsigned shift = 0; shift < 64 && !rest_.empty() && !isBroken_; shift += 7) {
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    number |= std::uint64_t{byte & 0x7fU} << shift;
    if ((byte & 0x80U) == 0) return number;
  }
  isBroken_ = true;
  return std::nullopt;
}

std::optional<std::string_view> LevelBytes::text() {
  const auto size = number();
  return size ? bytes(*size) : std::nullopt;
}

std::optional<std::string_view> LevelBytes::bytes(std::uint64_t count) {
  isBroken_ = isBroken_ || count > rest_.size();
  if (isBroken_) return std::nullopt;
  const std::string_view bytes = rest_.substr(0, static_cast<std::size_t>(count));
  rest_.remove_prefix(bytes.size());
  return bytes;
}

std::optional<std::uint64_t> LevelBytes::fixedNumber(std::size_t size) {
  const auto read = bytes(size);
  return read ? std::optional(littleEndian(*read)) : std::nullopt;
}

void appendLevelNumber(std::string& bytes, std::uint64_t number) {
  for (; number >= 0x80; number >>= 7) bytes.push_back(static_cast<char>(number | 0x80));
  bytes.push_back(static_cast<char>(number));
}

void appendLevelText(std::string& bytes, std::string_view text) {
  appendLevelNumber(bytes, text.size());
  bytes.append(text);
}

void appendLevelFixedNumber(std::string& bytes, std::uint64_t number, std::size_t size) {
  for (; size > 0; --size, number >>= 8) bytes.push_back(static_cast<char>(number));
}

std::uint32_t levelChecksum(std::string_view bytes, std::string_view more) {
  const std::uint32_t checksum = ~extend(extend(~std::uint32_t{0}, bytes), more);
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
  appendLevelFixedNumber(bytes, sequence << 8 | (isDeletion ? 0U : 1U), kTagSize);
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
