#include "Platform/Linux/files/FileLocks.h"

#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

#include "Platform/Linux/files/FilePin.h"

namespace platform::linux_ {
namespace {

using FileKey = std::pair<dev_t, ino_t>;

/// The files that this process has locked, or is about to lock.
struct LockedFiles {
  std::mutex mutex;
  std::set<FileKey> keys;  // guarded by mutex
};

LockedFiles& lockedFiles() {
  static LockedFiles files;
  return files;
}

/// One file's entry in that list.
class Reservation {
 public:
  /// Absent when the file is in the list already.
  static std::optional<Reservation> of(const FileKey& key) {
    LockedFiles& files = lockedFiles();
    const std::lock_guard lock(files.mutex);
    if (!files.keys.insert(key).second) return std::nullopt;
    return Reservation(key);
  }

  ~Reservation() {
    if (!key_) return;
    LockedFiles& files = lockedFiles();
    const std::lock_guard lock(files.mutex);
    files.keys.erase(*key_);
  }

  Reservation(Reservation&& other) noexcept : key_(std::exchange(other.key_, std::nullopt)) {}
  Reservation& operator=(Reservation&&) = delete;

 private:
  explicit Reservation(const FileKey& key) : key_(key) {}

  std::optional<FileKey> key_;
};

class RecordLock : public FileLock {
 public:
  explicit RecordLock(Reservation reservation) : reservation_(std::move(reservation)) {}

  std::error_code take(const FilePin& pin) {
    Result<FileDescriptor> opened = pin.open(O_RDWR | O_NONBLOCK);
    if (!opened) return opened.error();
    file_ = std::move(*opened);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (::fcntl(file_.get(), F_SETLK, &whole) == 0) return {};
    const std::error_code error(errno, std::generic_category());
    // Systems differ in the error for a lock that another process holds.
    return error == std::errc::permission_denied ? std::make_error_code(std::errc::resource_unavailable_try_again)
                                                 : error;
  }

 private:
  const Reservation reservation_;
  FileDescriptor file_;  // closed before the reservation ends: closing later would end the next lock
};

}  // namespace

Result<std::unique_ptr<FileLock>> lockFile(const SecurityScopes& scopes, const std::string& path, Mounts mounts) {
  const Result<FilePin> pin = FilePin::at(scopes, path, mounts);
  if (!pin) return pin.error();
  std::optional<Reservation> reservation = Reservation::of({pin->status.st_dev, pin->status.st_ino});
  if (!reservation) return std::errc::resource_unavailable_try_again;
  auto lock = std::make_unique<RecordLock>(std::move(*reservation));
  if (const std::error_code error = lock->take(*pin)) return error;
  // The lock does not protect another file that was put in place before it was held.
  const Result<FilePin> now = FilePin::at(scopes, path, mounts);
  if (!now) return now.error();
  if (!now->isSameFile(*pin)) return std::errc::resource_unavailable_try_again;
  return std::unique_ptr<FileLock>(std::move(lock));
}

std::optional<int> lockHolder(const SecurityScopes& scopes, const std::string& path, Mounts mounts) {
  const Result<FilePin> pin = FilePin::at(scopes, path, mounts);
  if (!pin) return std::nullopt;
  // Closing the descriptor would end a lock of this process.
  const auto reservation = Reservation::of({pin->status.st_dev, pin->status.st_ino});
  if (!reservation) return std::nullopt;
  const Result<FileDescriptor> file = pin->open(O_RDONLY | O_NONBLOCK);
  struct flock whole {};
  whole.l_type = F_WRLCK;  // both kinds of locks are in its way
  whole.l_whence = SEEK_SET;
  if (!file || ::fcntl(file->get(), F_GETLK, &whole) != 0 || whole.l_type == F_UNLCK) return std::nullopt;
  // A lock that belongs to no process, or to one that can't be seen from here, has none.
  return whole.l_pid > 0 ? std::optional<int>(whole.l_pid) : std::nullopt;
}

}  // namespace platform::linux_
