#include "Platform/UTF8.h"

namespace platform {
namespace {

struct Sequence {
  std::size_t length;       // in bytes, 0 for a byte that starts no sequence
  unsigned char secondLow;  // the range of the second byte
  unsigned char secondHigh;
};

Sequence sequenceStartedBy(unsigned char lead) {
  if (lead < 0x80) return {1, 0, 0};
  if (lead >= 0xC2 && lead <= 0xDF) return {2, 0x80, 0xBF};
  if (lead == 0xE0) return {3, 0xA0, 0xBF};
  if (lead == 0xED) return {3, 0x80, 0x9F};
  if (lead >= 0xE1 && lead <= 0xEF) return {3, 0x80, 0xBF};
  if (lead == 0xF0) return {4, 0x90, 0xBF};
  if (lead >= 0xF1 && lead <= 0xF3) return {4, 0x80, 0xBF};
  if (lead == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

}  // namespace

std::size_t lengthOfFirstUTF8Sequence(std::string_view bytes) {
  if (bytes.empty()) return 0;
  const Sequence sequence = sequenceStartedBy(static_cast<unsigned char>(bytes[0]));
  if (bytes.size() < sequence.length) return 0;
  for (std::size_t index = 1; index < sequence.length; ++index) {
    const auto byte = static_cast<unsigned char>(bytes[index]);
    const unsigned char low = index == 1 ? sequence.secondLow : 0x80;
    const unsigned char high = index == 1 ? sequence.secondHigh : 0xBF;
    if (byte < low || byte > high) return 0;
  }
  return sequence.length;
}

bool isValidUTF8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = lengthOfFirstUTF8Sequence(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

}  // namespace platform
