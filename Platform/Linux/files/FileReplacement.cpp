#include "Platform/Linux/files/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr mode_t kPrivateFolderMode = 0700;
constexpr mode_t kPrivateFileMode = 0600;
constexpr unsigned kPermissionBits = 0777;
constexpr int kMostTurns = 100;  // of a file that is being saved all the time

/// The folder of an item, opened so that it can be flushed: the location's own descriptor can't.
FileDescriptor folderToFlush(const ItemLocation& item) {
  return FileDescriptor(::openat(item.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::error_code flush(const FileDescriptor& descriptor) {
  int result = 0;
  do {
    result = ::fsync(descriptor.get());
  } while (result != 0 && errno == EINTR);
  return result == 0 ? std::error_code() : lastError();
}

std::error_code flushFolder(const FileDescriptor& folder) {
  const std::error_code error = flush(folder);
  // Some file systems can't flush folders, and have nothing of theirs to flush.
  return error == std::errc::invalid_argument ? std::error_code() : error;
}

std::error_code writeAll(const FileDescriptor& file, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t count = ::write(file.get(), contents.data(), contents.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    contents.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

std::error_code fill(const FileDescriptor& file, std::string_view contents, unsigned permissions) {
  if (const std::error_code error = writeAll(file, contents)) return error;
  if (::fchmod(file.get(), permissions & kPermissionBits) != 0) return lastError();  // whatever the umask is
  return flush(file);
}

/// Removes a file that was just created, unless another has taken its place meanwhile.
void takeBack(const ItemLocation& item, const FileDescriptor& file) {
  struct stat made {};
  struct stat found {};
  if (::fstat(file.get(), &made) == 0 &&
      ::fstatat(item.folder.get(), item.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
      made.st_ino == found.st_ino && made.st_dev == found.st_dev) {
    ::unlinkat(item.folder.get(), item.name.c_str(), 0);  // only the first failure is reported
  }
}

std::error_code rename(const ItemLocation& item, const ItemLocation& other, unsigned flags) {
  if (::renameat2(item.folder.get(), item.name.c_str(), other.folder.get(), other.name.c_str(), flags) == 0) return {};
  if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) return std::make_error_code(std::errc::not_supported);
  return lastError();
}

std::error_code exchange(const ItemLocation& item, const ItemLocation& other) {
  return rename(item, other, RENAME_EXCHANGE);
}

/// What bears a name at a moment. Held open, so that nothing that comes later is taken for it.
struct Found {
  FileDescriptor descriptor;
  std::optional<FileVersion> version;  // absent when nothing bears the name

  bool isSame(const Found& earlier) const { return version && version == earlier.version; }
};

Found findAt(const ItemLocation& item) {
  Found found{FileDescriptor(::openat(item.folder.get(), item.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)), {}};
  struct stat status {};
  if (found.descriptor && ::fstat(found.descriptor.get(), &status) == 0) found.version = versionOf(status);
  return found;
}

/// Moves back what was moved from `item` to `other`. What has come to `item` since is newer, and stays.
std::error_code moveBack(const ItemLocation& item, const ItemLocation& other) {
  const std::error_code error = rename(other, item, RENAME_NOREPLACE);
  return error == std::errc::file_exists ? std::error_code() : error;
}

/// Brings back what was saved last. At `item` was put `placed`; what was found there came to `other`, and is newer.
///
/// Each exchange brings the newest to `item`, and what was there to `other`. If that is what was put there before, all
/// is well: it is ours, or was saved earlier. If not, it was saved meanwhile, is the newest now, and is to be brought
/// back in turn. If the file was removed meanwhile, the newest that is known takes the free place.
std::error_code bringBack(const ItemLocation& item, const ItemLocation& other, Found placed) {
  Found newest = findAt(other);
  for (int turn = 0; turn < kMostTurns; ++turn) {
    const std::error_code error = exchange(item, other);
    if (error == std::errc::no_such_file_or_directory) return moveBack(item, other);
    if (error) return error;
    Found found = findAt(other);
    if (found.isSame(placed)) return {};
    placed = std::exchange(newest, std::move(found));
  }
  return std::make_error_code(std::errc::resource_unavailable_try_again);
}

bool isGone(std::error_code error) {
  return error == std::errc::no_such_file_or_directory;
}

}  // namespace

FileVersion versionOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec};
}

std::error_code createFolder(const ItemLocation& item) {
  return ::mkdirat(item.folder.get(), item.name.c_str(), kPrivateFolderMode) == 0 ? std::error_code() : lastError();
}

std::error_code createFile(const ItemLocation& item, std::string_view contents, unsigned permissions) {
  const FileDescriptor folder = folderToFlush(item);
  if (!folder) return lastError();
  const FileDescriptor file(::openat(item.folder.get(), item.name.c_str(),
                                     O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC, kPrivateFileMode));
  if (!file) return lastError();
  std::error_code error = fill(file, contents, permissions);
  if (!error) error = flushFolder(folder);
  if (error) takeBack(item, file);
  return error;
}

std::error_code exchangeItems(const ItemLocation& item, const ItemLocation& other) {
  const FileDescriptor folder = folderToFlush(item);
  if (!folder) return lastError();
  const FileDescriptor otherFolder = folderToFlush(other);
  if (!otherFolder) return lastError();
  if (const std::error_code error = exchange(item, other)) return error;
  std::error_code error = flushFolder(folder);
  if (!error) error = flushFolder(otherFolder);
  if (error) exchange(item, other);  // so that a failure leaves everything as it was, if possible
  return error;
}

Result<bool> exchangeUnlessChanged(const ItemLocation& item, const ItemLocation& other, const FileVersion& read) {
  const FileDescriptor folder = folderToFlush(item);
  if (!folder) return lastError();
  Found replacement = findAt(other);
  if (findAt(item).version != read) return false;
  if (const std::error_code error = exchange(item, other)) return isGone(error) ? Result<bool>(false) : error;
  // What was saved between the look and the exchange is at `other` now.
  bool isExchanged = findAt(other).version == read;
  if (isExchanged) isExchanged = !flushFolder(folder);
  if (isExchanged) return true;
  if (const std::error_code error = bringBack(item, other, std::move(replacement))) return error;
  if (const std::error_code error = flushFolder(folder)) return error;
  return false;
}

Result<bool> moveUnlessChanged(const ItemLocation& item, const ItemLocation& other, const FileVersion& read) {
  if (findAt(item).version != read) return false;
  if (const std::error_code error = rename(item, other, RENAME_NOREPLACE)) {
    return isGone(error) ? Result<bool>(false) : error;
  }
  if (findAt(other).version == read) return true;
  if (const std::error_code error = moveBack(item, other)) return error;
  return false;
}

}  // namespace platform::linux_
