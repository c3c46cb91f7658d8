#include "Platform/PrintableText.h"

#include <array>
#include <cstdio>

#include "Platform/UTF8.h"

namespace platform {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr std::array<Range, 6> kControls = {{{0x80, 0x9F},        // C1
                                             {0x61C, 0x61C},      // the Arabic letter mark
                                             {0x200E, 0x200F},    // marks of direction
                                             {0x2028, 0x2029},    // separators of lines and paragraphs
                                             {0x202A, 0x202E},    // embeddings and overrides
                                             {0x2066, 0x2069}}};  // isolates

bool isControl(char32_t character) {
  for (const Range& range : kControls) {
    if (character >= range.first && character <= range.last) return true;
  }
  return false;
}

char32_t decoded(std::string_view sequence) {
  constexpr std::array<unsigned char, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t character = static_cast<unsigned char>(sequence[0]) & kLeadBits[sequence.size()];
  for (const char byte : sequence.substr(1)) character = character << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
  return character;
}

std::string escaped(const char* format, unsigned number) {
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), format, number);
  return text.data();
}

std::string escapedByte(char byte) {
  return byte == '\n' ? "\\n" : escaped("\\x%02x", static_cast<unsigned char>(byte));
}

}  // namespace

std::string printable(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = lengthOfFirstUTF8Sequence(text);
    const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
    const char first = sequence[0];
    if (length == 0 || (length == 1 && (static_cast<unsigned char>(first) < 0x20 || first == 0x7F))) {
      line += escapedByte(first);
    } else if (const char32_t character = decoded(sequence); isControl(character)) {
      line += escaped("\\u%04x", static_cast<unsigned>(character));
    } else {
      line += sequence;
    }
    text.remove_prefix(sequence.size());
  }
  return line;
}

}  // namespace platform
