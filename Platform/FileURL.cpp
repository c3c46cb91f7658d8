#include "Platform/FileURL.h"

#include "Platform/Path.h"

namespace platform {
namespace {

constexpr std::string_view kScheme = "file://";
constexpr std::string_view kLocalHost = "localhost";
constexpr char kHexDigits[] = "0123456789ABCDEF";

bool isAllowedInPath(unsigned char byte) {
  if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9')) return true;
  return byte != 0 && std::string_view("/-._~!$&'()*+,=:@").find(static_cast<char>(byte)) != std::string_view::npos;
}

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      bytes += text[at];
      continue;
    }
    if (text.size() - at < 3) return std::nullopt;
    const int high = hexValue(text[at + 1]);
    const int low = hexValue(text[at + 2]);
    if (high < 0 || low < 0 || (high == 0 && low == 0)) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
    at += 2;
  }
  return bytes;
}

}  // namespace

FileURL::FileURL(std::string_view path, bool isDirectory) : isDirectory_(isDirectory) {
  if (path.empty() || path.front() != '/') path_ = "/";
  path_ += path;
  if (path_.back() == '/') isDirectory_ = true;
  while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
}

std::optional<FileURL> FileURL::fromString(std::string_view text) {
  if (!text.starts_with(kScheme)) return std::nullopt;
  text.remove_prefix(kScheme.size());
  if (text.starts_with(kLocalHost)) text.remove_prefix(kLocalHost.size());
  if (text.empty() || text.front() != '/' ||
      text.find_first_of(std::string_view("?#\0", 3)) != std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<std::string> path = percentDecoded(text);
  if (!path) return std::nullopt;
  return FileURL(*path);
}

std::string FileURL::absoluteString() const {
  std::string text(kScheme);
  text.reserve(text.size() + path_.size() + 16);
  for (const char character : path_) {
    const auto byte = static_cast<unsigned char>(character);
    if (isAllowedInPath(byte)) {
      text += character;
    } else {
      text += '%';
      text += kHexDigits[byte >> 4];
      text += kHexDigits[byte & 15];
    }
  }
  if (isDirectory_ && path_ != "/") text += '/';
  return text;
}

std::vector<std::string> FileURL::pathComponents() const {
  return platform::pathComponents(path_);
}

FileURL FileURL::deletingLastPathComponent() const {
  return FileURL(platform::deletingLastPathComponent(path_), true);
}

FileURL FileURL::appendingPathComponent(std::string_view component, bool isDirectory) const {
  return FileURL(platform::appendingPathComponent(path_, component), isDirectory);
}

}  // namespace platform
