#include "Platform/Linux/files/SecurityScopes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <optional>

#include "Platform/Linux/host/LastError.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

/// An absolute path without trailing or repeated slashes; absent when the path is empty or has a NUL byte.
std::optional<std::string> absolutePath(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
  return pathWithComponents(pathComponents(path.front() == '/' ? path : "/" + path));
}

bool hasDots(const std::string& path) {
  return path.find("/.") != std::string::npos;
}

bool endsInDots(const std::string& path) {
  const std::string name = lastPathComponent(path);
  return name == "." || name == "..";
}

/// "." and ".." make a name relative to something: only a path without them can be compared with a scope's.
bool hasDotComponents(const std::string& path) {
  if (!hasDots(path)) return false;
  for (const std::string& component : pathComponents(path)) {
    if (component == "." || component == "..") return true;
  }
  return false;
}

/// Where the path really leads, links and dots resolved; absent when it leads nowhere.
std::optional<std::string> realPath(const std::string& path) {
  char* resolved = ::realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return std::nullopt;
  std::string real(resolved);
  std::free(resolved);
  return real;
}

std::string pathBelow(const std::string& path, const std::string& folder) {
  if (path == folder) return ".";
  return path.substr(folder == "/" ? 1 : folder.size() + 1);
}

}  // namespace

std::shared_ptr<const PinnedFile> PinnedFile::at(const std::string& path) {
  Result<FileDescriptor> opened = openOverNoLink(path, O_PATH | O_NOFOLLOW);
  return opened ? of(path, std::move(*opened)) : nullptr;
}

std::shared_ptr<const PinnedFile> PinnedFile::of(const std::string& path, FileDescriptor descriptor) {
  struct statx status {};
  if (!descriptor || ::statx(descriptor.get(), "", AT_EMPTY_PATH, STATX_TYPE | STATX_INO | STATX_BTIME, &status) != 0 ||
      S_ISLNK(status.stx_mode)) {
    return nullptr;
  }
  auto pinned = std::make_shared<PinnedFile>();
  pinned->path_ = path;
  pinned->descriptor_ = std::move(descriptor);
  pinned->isDirectory_ = S_ISDIR(status.stx_mode);
  pinned->device_ = makedev(status.stx_dev_major, status.stx_dev_minor);
  pinned->identity_.inode = status.stx_ino;
  if ((status.stx_mask & STATX_BTIME) != 0) {
    pinned->identity_.birthNanoseconds = status.stx_btime.tv_sec * 1'000'000'000 + status.stx_btime.tv_nsec;
  }
  return pinned;
}

bool PinnedFile::isInPlace() const {
  struct stat status {};
  return ::lstat(path_.c_str(), &status) == 0 && status.st_ino == identity_.inode && status.st_dev == device_;
}

bool PinnedFile::isSameFile(int descriptor) const {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && status.st_ino == identity_.inode && status.st_dev == device_;
}

void SecurityScopes::openForProcess(const FileURL& url) {
  // The path led over no link when it was shown; a link that was put there since must not redirect the grant.
  const std::string path = pathWithComponents(pathComponents(url.path()));
  auto pinned = hasDotComponents(path) ? nullptr : PinnedFile::at(path);
  if (!pinned) return;
  const std::unique_lock lock(mutex_);
  OpenScope& scope = scopes_[path];
  scope.file = std::move(pinned);
  scope.forProcess = true;
}

std::optional<Data> SecurityScopes::bookmarkData(const FileURL& url) {
  const auto* carried = dynamic_cast<const PinnedFile*>(url.securityScope().get());
  if (carried != nullptr && carried->path() == url.path()) {
    return carried->isInPlace() ? std::optional(BookmarkData{carried->identity(), carried->path()}.encoded())
                                : std::nullopt;
  }
  {
    const std::shared_lock lock(mutex_);
    if (scopes_.empty()) return std::nullopt;  // the usual case, without disk access
  }
  const std::optional<std::string> path = absolutePath(url.path());
  if (!path) return std::nullopt;
  Result<FileDescriptor> opened = openInScope(*path, O_PATH | O_NOFOLLOW, Mounts::kAny);
  if (!opened && opened.error() == std::errc::no_such_file_or_directory) return std::nullopt;
  // Opened over no link, so the path is the real one, unless the item itself is a link: a link's bookmark is one of its
  // target.
  auto pinned = opened ? PinnedFile::of(*path, std::move(*opened)) : nullptr;
  if (!pinned) {
    const std::optional<std::string> real = realPath(*path);
    if (!real || *real == *path) return std::nullopt;
    Result<FileDescriptor> target = openInScope(*real, O_PATH | O_NOFOLLOW, Mounts::kAny);
    if (target) pinned = PinnedFile::of(*real, std::move(*target));
  }
  return pinned ? std::optional(BookmarkData{pinned->identity(), pinned->path()}.encoded()) : std::nullopt;
}

ResolvedBookmark SecurityScopes::resolveBookmarkData(const Data& data) {
  const std::optional<BookmarkData> bookmark = BookmarkData::decoded(data);
  if (!bookmark || hasDotComponents(bookmark->path)) return {};
  auto pinned = PinnedFile::at(bookmark->path);
  if (!pinned) return {};
  ResolvedBookmark resolved;
  resolved.url = FileURL(bookmark->path, pinned->isDirectory());
  resolved.isStale = pinned->identity() != bookmark->identity;
  resolved.url->setSecurityScope(std::move(pinned));
  return resolved;
}

bool SecurityScopes::startAccessing(const FileURL& url) {
  const auto pinned = std::dynamic_pointer_cast<const PinnedFile>(url.securityScope());
  if (!pinned || !pinned->isInPlace()) return false;
  const std::unique_lock lock(mutex_);
  OpenScope& scope = scopes_[pinned->path()];
  // A scope that was opened for an earlier item at this path is replaced by the one resolved last.
  if (!scope.file || scope.file->identity() != pinned->identity()) scope = {pinned, false, {}};
  ++scope.starts[pinned];
  return true;
}

void SecurityScopes::stopAccessing(const FileURL& url) {
  const auto pinned = std::dynamic_pointer_cast<const PinnedFile>(url.securityScope());
  if (!pinned) return;
  const std::unique_lock lock(mutex_);
  const auto scope = scopes_.find(pinned->path());
  if (scope == scopes_.end()) return;
  auto& starts = scope->second.starts;
  const auto own = starts.find(pinned);
  // Its start failed, or ended when the scope of another item replaced its own.
  if (own == starts.end()) return;
  if (--own->second == 0) starts.erase(own);
  if (starts.empty() && !scope->second.forProcess) scopes_.erase(scope);
}

/// The nearest open scope in place, at or above a path without dots; null when there is none.
std::shared_ptr<const PinnedFile> SecurityScopes::scopeContaining(const std::string& path) const {
  const std::shared_lock lock(mutex_);
  std::string_view candidate = path;
  while (true) {
    const auto found = scopes_.find(candidate);
    // A file's scope covers that file and nothing else; one that was moved away covers nothing.
    if (found != scopes_.end() && (found->second.file->isDirectory() || candidate.size() == path.size()) &&
        found->second.file->isInPlace()) {
      return found->second.file;
    }
    const std::size_t slash = candidate.rfind('/');
    if (candidate.size() <= 1 || slash == std::string_view::npos) return nullptr;
    candidate = candidate.substr(0, slash == 0 ? 1 : slash);
  }
}

/// Opens a path without dots inside the scope that contains it, over no symbolic link.
Result<FileDescriptor> SecurityScopes::openInScope(const std::string& path, int flags, Mounts mounts) const {
  if (hasDotComponents(path)) return std::errc::too_many_symbolic_link_levels;
  const auto scope = scopeContaining(path);
  if (!scope) return std::errc::operation_not_permitted;
  if (!scope->isDirectory()) {
    Result<FileDescriptor> file = openOverNoLink(path, flags | O_NOFOLLOW);
    if (file && !scope->isSameFile(file->get())) return std::errc::operation_not_permitted;
    return file;
  }
  return openBeneath(scope->descriptor(), pathBelow(path, scope->path()), flags, mounts);
}

Result<FileDescriptor> SecurityScopes::open(const std::string& path, int flags, Mounts mounts) const {
  const std::optional<std::string> absolute = absolutePath(path);
  if (!absolute) return std::errc::invalid_argument;
  Result<FileDescriptor> opened = openInScope(*absolute, flags, mounts);
  if (opened || opened.error() == std::errc::no_such_file_or_directory) return opened;
  // Links or dots in the path, or no scope for it as written: what counts is the resolved path.
  const std::optional<std::string> real = realPath(*absolute);
  if (!real) return lastError();
  return *real == *absolute ? std::move(opened) : openInScope(*real, flags, mounts);
}

Result<ItemLocation> SecurityScopes::locate(const std::string& path, Mounts mounts) const {
  std::optional<std::string> absolute = absolutePath(path);
  if (!absolute) return std::errc::invalid_argument;
  if (endsInDots(*absolute)) absolute = realPath(*absolute);  // dots are not an item's own name
  if (!absolute) return lastError();
  if (*absolute == "/") return std::errc::operation_not_permitted;
  Result<FileDescriptor> folder = open(deletingLastPathComponent(*absolute), O_PATH | O_DIRECTORY, mounts);
  if (!folder) return folder.error();
  return ItemLocation{std::move(*folder), lastPathComponent(*absolute)};
}

}  // namespace platform::linux_
