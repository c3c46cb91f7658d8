#include "Platform/Linux/files/BeneathFolder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

#include <cerrno>

#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr int kMostTries = 100;
constexpr std::uint64_t kNoLinks = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;

Result<FileDescriptor> open(int folder, const std::string& path, int flags, std::uint64_t resolve) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
  how.resolve = resolve;
  for (int tries = 1;; ++tries) {
    const long descriptor = ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
    if (descriptor >= 0) return FileDescriptor(static_cast<int>(descriptor));
    // EAGAIN: a part of the path was renamed at the same time, or another process holds a lease on the file.
    if ((errno != EINTR && errno != EAGAIN) || tries == kMostTries) return lastError();
  }
}

}  // namespace

Result<FileDescriptor> openBeneath(int folder, const std::string& path, int flags, Mounts mounts) {
  return open(folder, path, flags, RESOLVE_BENEATH | kNoLinks | (mounts == Mounts::kSame ? RESOLVE_NO_XDEV : 0));
}

Result<FileDescriptor> openOverNoLink(const std::string& path, int flags) {
  return open(AT_FDCWD, path, flags, kNoLinks);
}

}  // namespace platform::linux_
