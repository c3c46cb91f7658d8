#include "Worker/formats/ByteReader.h"

namespace tidewell {

std::uint64_t littleEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (std::size_t index = bytes.size(); index > 0; --index) {
    number = number << 8 | static_cast<unsigned char>(bytes[index - 1]);
  }
  return number;
}

std::optional<std::uint64_t> ByteReader::number() {
  std::uint64_t number = 0;
  for (unsigned shift = 0; shift < 64 && !rest_.empty() && !isBroken_; shift += 7) {
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    if (shift == 63 && byte > 1) break;  // more than 64 bits
    number |= std::uint64_t{byte & 0x7fU} << shift;
    if ((byte & 0x80U) == 0) return number;
  }
  isBroken_ = true;
  return std::nullopt;
}

std::optional<std::string_view> ByteReader::text() {
  const auto size = number();
  return size ? bytes(*size) : std::nullopt;
}

std::optional<std::string_view> ByteReader::bytes(std::uint64_t count) {
  isBroken_ = isBroken_ || count > rest_.size();
  if (isBroken_) return std::nullopt;
  const std::string_view bytes = rest_.substr(0, static_cast<std::size_t>(count));
  rest_.remove_prefix(bytes.size());
  return bytes;
}

std::optional<std::uint64_t> ByteReader::fixedNumber(std::size_t size) {
  const auto read = bytes(size);
  return read ? std::optional(littleEndian(*read)) : std::nullopt;
}

void appendNumber(std::string& bytes, std::uint64_t number) {
  for (; number >= 0x80; number >>= 7) bytes.push_back(static_cast<char>(number | 0x80));
  bytes.push_back(static_cast<char>(number));
}

void appendText(std::string& bytes, std::string_view text) {
  appendNumber(bytes, text.size());
  bytes.append(text);
}

void appendFixedNumber(std::string& bytes, std::uint64_t number, std::size_t size) {
  for (; size > 0; --size, number >>= 8) bytes.push_back(static_cast<char>(number));
}

}  // namespace tidewell
