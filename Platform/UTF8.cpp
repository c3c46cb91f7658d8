#include "Platform/UTF8.h"

#include <cstddef>

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

bool isValidUTF8(std::string_view bytes) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    const Sequence sequence = sequenceStartedBy(static_cast<unsigned char>(bytes[at]));
    if (sequence.length == 0 || bytes.size() - at < sequence.length) return false;
    for (std::size_t index = 1; index < sequence.length; ++index) {
      const auto byte = static_cast<unsigned char>(bytes[at + index]);
      const unsigned char low = index == 1 ? sequence.secondLow : 0x80;
      const unsigned char high = index == 1 ? sequence.secondHigh : 0xBF;
      if (byte < low || byte > high) return false;
    }
    at += sequence.length;
  }
  return true;
}

}  // namespace platform
