#include "Platform/Linux/cells/CellVoice.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace platform::linux_ {

std::optional<std::string> CellVoice::hear() {
  std::uint64_t length = 0;
  if (!read(reinterpret_cast<char*>(&length), sizeof length)) return std::nullopt;
  std::string message(length, '\0');
  return read(message.data(), message.size()) ? std::optional(std::move(message)) : std::nullopt;
}

bool CellVoice::say(std::string_view message) {
  const std::uint64_t length = message.size();
  return write(reinterpret_cast<const char*>(&length), sizeof length) && write(message.data(), message.size());
}

bool CellVoice::read(char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t got = ::read(descriptor_, bytes, count);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    bytes += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

bool CellVoice::write(const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t done = ::write(descriptor_, bytes, count);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return false;
    bytes += done;
    count -= static_cast<std::size_t>(done);
  }
  return true;
}

}  // namespace platform::linux_
