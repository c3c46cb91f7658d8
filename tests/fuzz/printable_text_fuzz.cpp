// Any text made safe to show: no control is left in it, and what is safe already stays as it is.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "Platform/PrintableText.h"
#include "Platform/UTF8.h"

namespace {

// In UTF-8: marks of direction, separators of lines and paragraphs, embeddings, overrides, isolates.
constexpr const char* kBeyondASCII[] = {"\xD8\x9C",     "\xE2\x80\x8E", "\xE2\x80\x8F", "\xE2\x80\xA8", "\xE2\x80\xA9",
                                        "\xE2\x80\xAA", "\xE2\x80\xAB", "\xE2\x80\xAC", "\xE2\x80\xAD", "\xE2\x80\xAE",
                                        "\xE2\x81\xA6", "\xE2\x81\xA7", "\xE2\x81\xA8", "\xE2\x81\xA9"};

/// Whether the text, which is valid UTF-8, holds what moves a cursor, ends a line, or turns text around.
bool holdsControl(const std::string& text) {
  for (const char* control : kBeyondASCII) {
    if (text.find(control) != std::string::npos) return true;
  }
  for (std::size_t index = 0; index < text.size(); ++index) {
    const auto byte = static_cast<unsigned char>(text[index]);
    if (byte < 0x20 || byte == 0x7F) return true;
    if (byte == 0xC2 && static_cast<unsigned char>(text[index + 1]) < 0xA0) return true;  // C1
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  const std::string shown = platform::printable(text);
  if (!platform::isValidUTF8(shown) || holdsControl(shown) || platform::printable(shown) != shown) std::abort();
  const bool isSafe = platform::isValidUTF8(text) && !holdsControl(text);
  if (isSafe != (shown == text)) std::abort();
  return 0;
}
