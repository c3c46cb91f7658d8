#include "Platform/Linux/host/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr std::size_t kChunk = 1 << 16;  // bytes

/// Why a file can't be read as a whole, by its kind.
std::error_code errorOfKind(mode_t mode) {
  if (S_ISDIR(mode)) return std::make_error_code(std::errc::is_a_directory);
  return S_ISREG(mode) ? std::error_code() : std::make_error_code(std::errc::invalid_argument);
}

}  // namespace

Result<std::string> contentsOfRegularFile(const std::string& path, std::size_t most) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return lastError();
  if (const std::error_code error = errorOfKind(status.st_mode)) return error;
  std::string contents;
  std::size_t size = 0;
  while (size <= most) {  // one byte more tells of a file that is too large, or grows meanwhile
    contents.resize(size + std::min(kChunk, most + 1 - size));
    const ssize_t count = ::read(file.get(), contents.data() + size, contents.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  if (size > most) return std::errc::file_too_large;
  contents.resize(size);
  return contents;
}

}  // namespace platform::linux_
