#include "Platform/Linux/files/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "Platform/Linux/files/FileReplacement.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr std::size_t kReadChunk = 1 << 20;  // bytes; the count asked for may be far beyond the file
constexpr std::uint64_t kLongestFile = std::numeric_limits<off_t>::max();  // bytes; reading beyond is an error

}  // namespace

Result<std::unique_ptr<ReadableFile>> FileReader::open(const FilePin& pin) {
  Result<FileDescriptor> file = pin.open(O_RDONLY | O_NONBLOCK);  // does not wait for a lease
  if (!file) return file.error();
  struct stat status {};
  if (::fstat(file->get(), &status) != 0) return lastError();
  return std::unique_ptr<ReadableFile>(
      std::make_unique<FileReader>(std::move(*file), static_cast<std::uint64_t>(status.st_size)));
}

Result<FileVersion> FileReader::version() const {
  struct stat status {};
  if (::fstat(file_.get(), &status) != 0) return lastError();
  return versionOf(status);
}

Result<std::string> FileReader::read(std::uint64_t offset, std::size_t count) const {
  std::string contents;
  std::size_t size = 0;
  while (size < count && offset < kLongestFile - size) {
    const std::uint64_t from = offset + size;
    contents.resize(size + std::min({count - size, kReadChunk, static_cast<std::size_t>(kLongestFile - from)}));
    const ssize_t got = ::pread(file_.get(), contents.data() + size, contents.size() - size, static_cast<off_t>(from));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return lastError();
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
  }
  contents.resize(size);
  return contents;
}

}  // namespace platform::linux_
