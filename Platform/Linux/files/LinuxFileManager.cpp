#include "Platform/Linux/files/LinuxFileManager.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "Platform/Linux/files/FileLocks.h"
#include "Platform/Linux/files/FileReader.h"
#include "Platform/Linux/files/FileReplacement.h"
#include "Platform/Linux/files/FolderListing.h"
#include "Platform/Linux/files/LinuxDirectoryEnumerator.h"
#include "Platform/Linux/files/TreeRemoval.h"
#include "Platform/Linux/host/LastError.h"
#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"
#include "Platform/UTF8.h"

namespace platform::linux_ {
namespace {

constexpr std::int64_t kLargestText = 64 << 20;  // bytes
constexpr std::size_t kCopyChunk = 1 << 20;      // bytes

constexpr mode_t kPrivateFolderMode = 0700;
constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY;  // never waits for the other end of a pipe

bool isNoPath(const std::string& path) {
  return path.empty() || path.find('\0') != std::string::npos;
}

std::string fromRoot(const std::string& path) {
  return path.front() == '/' ? path : "/" + path;
}

/// Whether a path exists and leads over no symbolic link: then it is its own resolved form.
bool leadsOverNoLink(const std::string& path) {
  open_how how{};
  how.flags = O_PATH | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  return static_cast<bool>(
      FileDescriptor(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how))));
}

/// With the links resolved in as much of the path as exists.
std::string resolvingSymlinks(const std::string& path) {
  if (leadsOverNoLink(path)) return path;
  std::string rest;
  for (std::string existing = path; existing.size() > 1; existing = deletingLastPathComponent(existing)) {
    if (char* resolved = ::realpath(existing.c_str(), nullptr)) {
      std::string real(resolved);
      std::free(resolved);
      return appendingPathComponent(real, rest);
    }
    rest = rest.empty() ? lastPathComponent(existing) : appendingPathComponent(lastPathComponent(existing), rest);
  }
  return path;
}

Date dateOf(const struct statx_timestamp& time) {
  return Date(std::chrono::duration_cast<Date::duration>(std::chrono::seconds(time.tv_sec) +
                                                         std::chrono::nanoseconds(time.tv_nsec)));
}

const char* typeName(unsigned mode) {
  switch (mode & S_IFMT) {
    case S_IFDIR:
      return kFileTypeDirectory;
    case S_IFREG:
      return kFileTypeRegular;
    case S_IFLNK:
      return kFileTypeSymbolicLink;
    case S_IFSOCK:
      return kFileTypeSocket;
    case S_IFCHR:
      return kFileTypeCharacterSpecial;
    case S_IFBLK:
      return kFileTypeBlockSpecial;
    default:
      return kFileTypeUnknown;
  }
}

Value::Dictionary attributesFrom(const struct statx& status) {
  Value::Dictionary attributes;
  attributes.emplace(kFileType, typeName(status.stx_mode));
  attributes.emplace(kFileSize, static_cast<std::int64_t>(status.stx_size));
  attributes.emplace(kFileModificationDate, dateOf(status.stx_mtime));
  if ((status.stx_mask & STATX_BTIME) != 0) attributes.emplace(kFileCreationDate, dateOf(status.stx_btime));
  attributes.emplace(kFilePosixPermissions, static_cast<std::int64_t>(status.stx_mode & 07777));
  attributes.emplace(kFileReferenceCount, static_cast<std::int64_t>(status.stx_nlink));
  attributes.emplace(kFileOwnerAccountID, static_cast<std::int64_t>(status.stx_uid));
  attributes.emplace(kFileGroupOwnerAccountID, static_cast<std::int64_t>(status.stx_gid));
  attributes.emplace(kFileSystemFileNumber, static_cast<std::int64_t>(status.stx_ino));
  return attributes;
}

Result<std::string> wholeContents(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return lastError();
  if (S_ISDIR(status.st_mode)) return std::errc::is_a_directory;
  if (!S_ISREG(status.st_mode)) return std::errc::invalid_argument;
  if (status.st_size > kLargestText) return std::errc::file_too_large;
  std::string contents;
  std::size_t size = 0;
  while (true) {
    // Room for the whole file, so that one read is usually enough; the next finds the end.
    contents.resize(std::max<std::size_t>(size + 4096, static_cast<std::size_t>(status.st_size) + 1));
    const ssize_t count = ::read(descriptor, contents.data() + size, contents.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (size > std::size_t{kLargestText}) return std::errc::file_too_large;  // it grows
  }
  contents.resize(size);
  return contents;
}

class Pinned : public PinnedRegularFile {
 public:
  explicit Pinned(std::shared_ptr<const PinnedFile> file) : file_(std::move(file)) {}
  const std::string& path() const override { return file_->path(); }
  bool isInPlace() const override { return file_->isInPlace(); }

 private:
  const std::shared_ptr<const PinnedFile> file_;
};

}  // namespace

LinuxFileManager::LinuxFileManager(SecurityScopes& scopes, std::string scriptsFolder, Mounts mounts,
                                   const Sharing& sharing)
    : scopes_(scopes), scriptsFolder_(std::move(scriptsFolder)), mounts_(mounts), sharing_(sharing) {}

std::string LinuxFileManager::scriptsFolderFromEnvironment(const std::string& bundleIdentifier) {
  return pathWithComponents({dataFolder(), "tidewell", "Application Scripts", bundleIdentifier});
}

FileURL LinuxFileManager::fileURLWithPath(const std::string& path) const {
  bool isDirectory = false;
  fileExists(path, isDirectory);
  return FileURL(path, isDirectory);
}

FileURL LinuxFileManager::standardizedURL(const FileURL& url) const {
  std::string standard = "/";
  for (const std::string& component : url.pathComponents()) {
    if (component == "..") {
      standard = deletingLastPathComponent(resolvingSymlinks(standard));
    } else if (component != "." && component != "/") {
      standard = appendingPathComponent(standard, component);
    }
  }
  return FileURL(standard, url.hasDirectoryPath());
}

FileURL LinuxFileManager::urlByResolvingSymlinks(const FileURL& url) const {
  if (isNoPath(url.path())) return url;
  const std::string resolved = resolvingSymlinks(url.path());
  bool isDirectory = url.hasDirectoryPath();
  fileExists(resolved, isDirectory);
  return FileURL(resolved, isDirectory);
}

bool LinuxFileManager::fileExists(const std::string& path) const {
  bool ignored = false;
  return fileExists(path, ignored);
}

bool LinuxFileManager::fileExists(const std::string& path, bool& isDirectory) const {
  struct stat status {};
  if (isNoPath(path) || ::stat(fromRoot(path).c_str(), &status) != 0) return false;
  isDirectory = S_ISDIR(status.st_mode);
  return true;
}

bool LinuxFileManager::isRegularFile(const std::string& path) const {
  struct stat status {};
  return !isNoPath(path) && ::lstat(fromRoot(path).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::error_code LinuxFileManager::checkResourceIsReachable(const std::string& path) const {
  struct stat status {};
  if (isNoPath(path)) return std::make_error_code(std::errc::invalid_argument);
  if (::stat(fromRoot(path).c_str(), &status) == 0) return {};
  // A file in place of a folder of the path means that the item does not exist either.
  return errno == ENOTDIR ? std::make_error_code(std::errc::no_such_file_or_directory) : lastError();
}

bool LinuxFileManager::mayBeEmptyFolder(const std::string& path) const {
  std::error_code error;
  const bool isEmpty = isNoPath(path) || std::filesystem::is_empty(fromRoot(path), error);
  return isEmpty || error;
}

Result<std::string> LinuxFileManager::stringWithContentsOfFile(const std::string& path) const {
  const Result<FileDescriptor> file = scopes_.open(path, kReadFlags, mounts_);
  if (!file) return file.error();
  Result<std::string> contents = wholeContents(file->get());
  if (contents && !isValidUTF8(*contents)) return std::errc::illegal_byte_sequence;
  return contents;
}

Result<std::unique_ptr<ReadableFile>> LinuxFileManager::readableFile(const std::string& path) const {
  const Result<FilePin> pin = FilePin::at(scopes_, path, mounts_);
  return pin ? FileReader::open(*pin) : pin.error();
}

Result<std::vector<std::string>> LinuxFileManager::contentsOfDirectory(const std::string& path) const {
  const Result<FileDescriptor> folder = scopes_.open(path, kReadFlags | O_DIRECTORY, mounts_);
  if (!folder) return folder.error();
  std::vector<std::string> names;
  const std::error_code error =
      listFolder(folder->get(), [&names](const FolderEntry& entry) { names.emplace_back(entry.name); });
  if (error) return error;
  return names;
}

Result<Value::Dictionary> LinuxFileManager::attributesOfItem(const std::string& path) const {
  struct statx status {};
  const Result<ItemLocation> item = scopes_.locate(path, mounts_);
  if (item) {
    if (::statx(item->folder.get(), item->name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME,
                &status) != 0) {
      return lastError();
    }
    return attributesFrom(status);
  }
  // The folder of a scope lies in no scope itself, but its attributes may be read.
  const Result<FileDescriptor> root = scopes_.open(path, O_PATH | O_NOFOLLOW, mounts_);
  if (!root) return item.error();
  if (::statx(root->get(), "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) return lastError();
  return attributesFrom(status);
}

std::unique_ptr<DirectoryEnumerator> LinuxFileManager::enumeratorAtURL(const FileURL& folder,
                                                                       EnumerationErrorHandler errorHandler) const {
  return std::make_unique<LinuxDirectoryEnumerator>(
      folder, scopes_.open(folder.path(), kReadFlags | O_DIRECTORY, mounts_), std::move(errorHandler));
}

Erasure LinuxFileManager::removeItem(const std::string& path) {
  Result<ItemLocation> item = scopes_.locate(path, mounts_);
  return item ? removeAt(std::move(item->folder), item->name, sharing_) : notErased(item.error());
}

Erasure LinuxFileManager::removeOverwrittenItem(const std::string& path, UnflushedFile unflushed) {
  Result<ItemLocation> item = scopes_.locate(path, mounts_);
  if (!item) return notErased(item.error());
  const FileDescriptor file(::openat(item->folder.get(), item->name.c_str(), kReadFlags | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  // A link or a socket can't be opened this way, and has no data of its own to flush.
  if (file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && ::fdatasync(file.get()) != 0 &&
      unflushed == UnflushedFile::stays) {
    return notErased(lastError());
  }
  return removeAt(std::move(item->folder), item->name, sharing_);
}

Erasure LinuxFileManager::eraseItem(const std::string& path, Overwriting overwriting) {
  Result<ItemLocation> item = scopes_.locate(path, Mounts::kSame);
  return item ? removeItems(std::move(item->folder), {item->name}, overwriting, sharing_) : notReached(item.error());
}

Erasure LinuxFileManager::eraseItems(const std::string& folder, const std::vector<std::string>& names,
                                     Overwriting overwriting) {
  Result<FileDescriptor> opened = scopes_.open(folder, O_PATH | O_DIRECTORY, Mounts::kSame);
  return opened ? removeItems(std::move(*opened), names, overwriting, sharing_) : notReached(opened.error());
}

std::error_code LinuxFileManager::createFolder(const std::string& path) {
  const Result<ItemLocation> item = scopes_.locate(path, mounts_);
  return item ? linux_::createFolder(*item) : item.error();
}

std::error_code LinuxFileManager::createFile(const std::string& path, std::string_view contents, unsigned permissions) {
  const Result<ItemLocation> item = scopes_.locate(path, mounts_);
  return item ? linux_::createFile(*item, contents, permissions) : item.error();
}

std::error_code LinuxFileManager::exchangeItems(const std::string& path, const std::string& other) {
  const Result<ItemLocation> item = scopes_.locate(path, mounts_);
  if (!item) return item.error();
  const Result<ItemLocation> otherItem = scopes_.locate(other, mounts_);
  return otherItem ? linux_::exchangeItems(*item, *otherItem) : otherItem.error();
}

Result<bool> LinuxFileManager::exchangeUnlessChanged(const std::string& path, const std::string& other,
                                                     const FileVersion& read) {
  const Result<ItemLocation> item = scopes_.locate(path, mounts_);
  if (!item) return item.error();
  const Result<ItemLocation> otherItem = scopes_.locate(other, mounts_);
  return otherItem ? linux_::exchangeUnlessChanged(*item, *otherItem, read) : otherItem.error();
}

Result<bool> LinuxFileManager::moveUnlessChanged(const std::string& path, const std::string& other,
                                                 const FileVersion& read) {
  const Result<ItemLocation> item = scopes_.locate(path, mounts_);
  if (!item) return item.error();
  const Result<ItemLocation> otherItem = scopes_.locate(other, mounts_);
  return otherItem ? linux_::moveUnlessChanged(*item, *otherItem, read) : otherItem.error();
}

Result<std::unique_ptr<FileLock>> LinuxFileManager::lockFile(const std::string& path) {
  return linux_::lockFile(scopes_, path, mounts_);
}

std::optional<int> LinuxFileManager::lockHolder(const std::string& path) const {
  return linux_::lockHolder(scopes_, path, mounts_);
}

std::error_code LinuxFileManager::copyItem(const FileURL& source, const FileURL& destination) {
  const FileDescriptor from(::open(source.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!from || ::fstat(from.get(), &status) != 0) return lastError();
  if (!S_ISREG(status.st_mode)) return std::make_error_code(std::errc::invalid_argument);
  const Result<ItemLocation> item = scopes_.locate(destination.path(), mounts_);
  if (!item) return item.error();
  const int folder = item->folder.get();
  // Complete before it gets its name: it may be run as soon as it exists.
  FileDescriptor to(::openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
  const std::string temporary = "." + item->name + ".new";
  const bool isNamed = !to && (errno == EOPNOTSUPP || errno == EISDIR);  // O_TMPFILE is not supported
  if (isNamed) {
    ::unlinkat(folder, temporary.c_str(), 0);
    to.reset(::openat(folder, temporary.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC, 0600));
  }
  if (!to) return lastError();
  while (true) {
    const ssize_t count = ::sendfile(to.get(), from.get(), nullptr, kCopyChunk);
    if (count < 0) return lastError();
    if (count == 0) break;
  }
  if (::fchmod(to.get(), status.st_mode & 0777) != 0) return lastError();
  if (isNamed) {
    if (::linkat(folder, temporary.c_str(), folder, item->name.c_str(), 0) != 0) {
      const std::error_code error = lastError();
      ::unlinkat(folder, temporary.c_str(), 0);
      return error;
    }
    ::unlinkat(folder, temporary.c_str(), 0);
    return {};
  }
  const std::string opened = "/proc/self/fd/" + std::to_string(to.get());
  if (::linkat(AT_FDCWD, opened.c_str(), folder, item->name.c_str(), AT_SYMLINK_FOLLOW) != 0) return lastError();
  return {};
}

Result<std::unique_ptr<PinnedRegularFile>> LinuxFileManager::pinnedFile(const std::string& path) const {
  Result<FileDescriptor> opened = scopes_.open(path, O_PATH, mounts_);
  if (!opened) return opened.error();
  struct stat status {};
  if (::fstat(opened->get(), &status) != 0) return lastError();
  if (!S_ISREG(status.st_mode)) return std::errc::invalid_argument;
  std::array<char, PATH_MAX> real;
  const std::string link = "/proc/self/fd/" + std::to_string(opened->get());
  const ssize_t length = ::readlink(link.c_str(), real.data(), real.size());
  if (length <= 0) return lastError();
  auto pinned = PinnedFile::of(std::string(real.data(), static_cast<std::size_t>(length)), std::move(*opened));
  if (!pinned || !pinned->isInPlace()) return std::errc::no_such_file_or_directory;
  return std::unique_ptr<PinnedRegularFile>(std::make_unique<Pinned>(std::move(pinned)));
}

Result<FileURL> LinuxFileManager::applicationScriptsDirectory(bool create) {
  if (create) {
    std::string folder = "/";
    for (const std::string& component : pathComponents(scriptsFolder_)) {
      folder = appendingPathComponent(folder, component);
      if (::mkdir(folder.c_str(), kPrivateFolderMode) != 0 && errno != EEXIST && errno != EROFS && errno != EACCES) {
        return lastError();
      }
    }
  }
  bool isDirectory = false;
  if (create && (!fileExists(scriptsFolder_, isDirectory) || !isDirectory)) return std::errc::not_a_directory;
  // Without links, as the person confirms it.
  return FileURL(urlByResolvingSymlinks(FileURL(scriptsFolder_, true)).path(), true);
}

}  // namespace platform::linux_
