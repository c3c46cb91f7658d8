#include "Platform/Linux/files/BookmarkData.h"

#include <string_view>

namespace platform::linux_ {
namespace {

constexpr std::string_view kMagic = "TWbm\1";  // the last byte is the version
constexpr std::size_t kHeaderSize = 5 + 8 + 8;
constexpr std::size_t kChecksumSize = 8;

/// FNV-1a, 64 bits: every damage of a single byte changes it.
std::uint64_t checksum(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
  return hash;
}

void append(std::string& bytes, std::uint64_t number) {
  for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(number >> shift);
}

std::uint64_t numberAt(std::string_view bytes, std::size_t at) {
  std::uint64_t number = 0;
  for (std::size_t index = 0; index < 8; ++index) {
    number |= std::uint64_t{static_cast<unsigned char>(bytes[at + index])} << (8 * index);
  }
  return number;
}

}  // namespace

Data BookmarkData::encoded() const {
  std::string bytes(kMagic);
  append(bytes, identity.inode);
  append(bytes, static_cast<std::uint64_t>(identity.birthNanoseconds));
  bytes += path;
  append(bytes, checksum(bytes));
  return dataFromBytes(bytes);
}

std::optional<BookmarkData> BookmarkData::decoded(const Data& data) {
  std::string_view bytes = bytesOf(data);
  if (bytes.size() <= kHeaderSize + kChecksumSize || !bytes.starts_with(kMagic)) return std::nullopt;
  const std::uint64_t expected = numberAt(bytes, bytes.size() - kChecksumSize);
  bytes.remove_suffix(kChecksumSize);
  if (checksum(bytes) != expected) return std::nullopt;
  BookmarkData bookmark;
  bookmark.identity.inode = numberAt(bytes, kMagic.size());
  bookmark.identity.birthNanoseconds = static_cast<std::int64_t>(numberAt(bytes, kMagic.size() + 8));
  bookmark.path = bytes.substr(kHeaderSize);
  if (bookmark.path.front() != '/' || bookmark.path.find('\0') != std::string::npos) return std::nullopt;
  return bookmark;
}

}  // namespace platform::linux_
