// Numbers and texts as several file formats store them: varints (7 bits in each byte, the lowest first) and
// little-endian numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

/// Reads values in sequence. After the first that is absent (the bytes end too early, or make no number), all are.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }

  /// A varint of at most 64 bits.
  std::optional<std::uint64_t> number();
  /// The length as a varint, and the text.
  std::optional<std::string_view> text();
  std::optional<std::string_view> bytes(std::uint64_t count);
  /// A little-endian number of 1 to 8 bytes.
  std::optional<std::uint64_t> fixedNumber(std::size_t size);

 private:
  std::string_view rest_;
  bool isBroken_ = false;  // a value was absent
};

/// The little-endian number in 0 to 8 bytes.
std::uint64_t littleEndian(std::string_view bytes);

void appendNumber(std::string& bytes, std::uint64_t number);
void appendText(std::string& bytes, std::string_view text);
void appendFixedNumber(std::string& bytes, std::uint64_t number, std::size_t size);

}  // namespace tidewell
