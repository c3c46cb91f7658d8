#include "Platform/Linux/files/FilePin.h"

#include <fcntl.h>

#include <cerrno>

#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr int kPinFlags = O_PATH | O_NOFOLLOW;

bool isSame(const struct stat& one, const struct stat& other) {
  return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

/// A file that was granted by itself: its folder is in no scope, so the file can't be looked up in it.
Result<FilePin> grantedAlone(const SecurityScopes& scopes, const std::string& path) {
  Result<FileDescriptor> opened = scopes.open(path, kPinFlags);
  if (!opened) return opened.error();
  FilePin pin{std::move(*opened), {}};
  struct stat item {};
  if (::fstat(pin.descriptor.get(), &pin.status) != 0 ||
      ::fstatat(AT_FDCWD, path.c_str(), &item, AT_SYMLINK_NOFOLLOW)) {
    return lastError();
  }
  // The path is a link: only its target is granted.
  if (!isSame(pin.status, item)) return std::errc::operation_not_permitted;
  return pin;
}

Result<FilePin> pinnedItem(const SecurityScopes& scopes, const std::string& path, Mounts mounts) {
  const Result<ItemLocation> item = scopes.locate(path, mounts);
  if (!item) {
    if (item.error() != std::errc::operation_not_permitted) return item.error();
    return grantedAlone(scopes, path.front() == '/' ? path : "/" + path);
  }
  Result<FileDescriptor> opened = openBeneath(item->folder.get(), item->name, kPinFlags, mounts);
  if (!opened) return opened.error();
  FilePin pin{std::move(*opened), {}};
  if (::fstat(pin.descriptor.get(), &pin.status) != 0) return lastError();
  return pin;
}

}  // namespace

Result<FilePin> FilePin::at(const SecurityScopes& scopes, const std::string& path, Mounts mounts) {
  Result<FilePin> pin = pinnedItem(scopes, path, mounts);
  if (!pin || S_ISREG(pin->status.st_mode)) return pin;
  if (S_ISLNK(pin->status.st_mode)) return std::errc::too_many_symbolic_link_levels;
  return S_ISDIR(pin->status.st_mode) ? std::errc::is_a_directory : std::errc::invalid_argument;
}

bool FilePin::isSameFile(const FilePin& other) const {
  return isSame(status, other.status);
}

Result<FileDescriptor> FilePin::open(int flags) const {
  const std::string pinned = "/proc/self/fd/" + std::to_string(descriptor.get());
  FileDescriptor opened(::open(pinned.c_str(), flags | O_CLOEXEC));
  if (!opened) return lastError();
  return opened;
}

}  // namespace platform::linux_
