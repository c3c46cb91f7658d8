// The form of Firefox's sessions: a mark, the size of the text, and the text packed by LZ4.
#pragma once

#include <lz4.h>

#include <optional>
#include <string>
#include <string_view>

namespace fuzz {

inline constexpr std::string_view kSessionMark("mozLz40\0", 8);
inline constexpr std::size_t kSessionHeader = 12;  // the mark and the size

inline std::string packedSession(std::string_view text) {
  std::string file(kSessionMark);
  for (unsigned shift = 0; shift < 32; shift += 8) file += static_cast<char>(text.size() >> shift);
  const int size = static_cast<int>(text.size());
  std::string block(static_cast<std::size_t>(LZ4_compressBound(size)), '\0');
  block.resize(
      static_cast<std::size_t>(LZ4_compress_default(text.data(), block.data(), size, static_cast<int>(block.size()))));
  return file + block;
}

/// The text of a file; absent when it is no such file, or the text is larger than `largest`.
inline std::optional<std::string> unpackedSession(std::string_view file, std::size_t largest) {
  if (!file.starts_with(kSessionMark) || file.size() <= kSessionHeader) return std::nullopt;
  const std::string_view block = file.substr(kSessionHeader);
  std::string text(largest, '\0');
  const int size =
      LZ4_decompress_safe(block.data(), text.data(), static_cast<int>(block.size()), static_cast<int>(largest));
  if (size < 0) return std::nullopt;
  text.resize(static_cast<std::size_t>(size));
  return text;
}

}  // namespace fuzz
