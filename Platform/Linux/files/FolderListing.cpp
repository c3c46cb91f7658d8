#include "Platform/Linux/files/FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace platform::linux_ {
namespace {

constexpr std::size_t kBufferSize = 64 * 1024;  // bytes: about two thousand entries for each call

bool isDotOrDotDot(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

}  // namespace

std::error_code listFolder(int folder, const std::function<void(const FolderEntry&)>& take) {
  if (::lseek(folder, 0, SEEK_SET) < 0) return {errno, std::generic_category()};
  const auto buffer = std::make_unique<std::byte[]>(kBufferSize);
  while (true) {
    const ssize_t size = ::getdents64(folder, buffer.get(), kBufferSize);
    if (size < 0) return {errno, std::generic_category()};
    if (size == 0) return {};
    for (ssize_t at = 0; at < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer.get() + at);
      if (!isDotOrDotDot(entry->d_name)) take({entry->d_name, entry->d_type});
      at += entry->d_reclen;
    }
  }
}

bool isFolder(int folder, const FolderEntry& entry) {
  if (entry.type != DT_UNKNOWN) return entry.type == DT_DIR;
  struct stat status {};
  return ::fstatat(folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace platform::linux_
