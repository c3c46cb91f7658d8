#include "MainApplication/preview/AnonymousFiles.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Linux/host/FileDescriptor.h"

namespace tidewell {
namespace {

using platform::linux_::FileDescriptor;

constexpr std::string_view kNowhere = "/proc/tidewell-anonymous/";  // nothing can be made in that file system
constexpr std::size_t kChunk = std::size_t{1} << 20;                // bytes
constexpr int kSectorSize = 4096;                                   // bytes, as SQLite assumes them

struct Contents {
  FileDescriptor descriptor;
  std::vector<std::unique_ptr<char[]>> shared;  // the index of a write-ahead log, which is in no file here
};
using Files = std::map<std::string, std::shared_ptr<Contents>, std::less<>>;

std::mutex mutex;  // guards:
Files files;
int folders = 0;  // so far

bool isAnonymous(const char* path) {
  return path != nullptr && std::string_view(path).starts_with(kNowhere);
}

FileDescriptor made() {
  FileDescriptor file(::open("/tmp", O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, 0600));
  return file ? std::move(file) : FileDescriptor(::memfd_create("tidewell", MFD_CLOEXEC));
}

bool writeAt(const FileDescriptor& file, const char* bytes, std::size_t count, off_t offset) {
  while (count > 0) {
    const ssize_t written = ::pwrite(file.get(), bytes, count, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    offset += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

/// The bytes that there are, up to `count`; -1 after a failure.
ssize_t readAt(const FileDescriptor& file, char* bytes, std::size_t count, off_t offset) {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t read = ::pread(file.get(), bytes + done, count - done, offset + static_cast<off_t>(done));
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) return -1;
    if (read == 0) break;
    done += static_cast<std::size_t>(read);
  }
  return static_cast<ssize_t>(done);
}

off_t sizeOf(const FileDescriptor& file) {
  struct stat status {};
  return ::fstat(file.get(), &status) == 0 ? status.st_size : 0;
}

std::shared_ptr<Contents> found(const char* path) {
  const std::lock_guard lock(mutex);
  const auto file = files.find(std::string_view(path));
  return file != files.end() ? file->second : nullptr;
}

bool fill(const std::string& path, FileDescriptor descriptor) {
  auto contents = std::make_shared<Contents>();
  contents->descriptor = std::move(descriptor);
  const std::lock_guard lock(mutex);
  files.insert_or_assign(path, std::move(contents));
  return true;
}

/// A file as SQLite has it open, in memory that SQLite gives and takes.
struct OpenFile {
  sqlite3_file base;
  std::shared_ptr<Contents>* contents;
};

Contents& of(sqlite3_file* file) {
  return **reinterpret_cast<OpenFile*>(file)->contents;
}

int close(sqlite3_file* file) {
  delete reinterpret_cast<OpenFile*>(file)->contents;
  return SQLITE_OK;
}

int read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
  auto* to = static_cast<char*>(bytes);
  const auto wanted = static_cast<std::size_t>(count);
  const ssize_t done = readAt(of(file).descriptor, to, wanted, offset);
  if (done < 0) return SQLITE_IOERR_READ;
  std::memset(to + done, 0, wanted - static_cast<std::size_t>(done));
  return static_cast<std::size_t>(done) == wanted ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  const bool isWritten =
      writeAt(of(file).descriptor, static_cast<const char*>(bytes), static_cast<std::size_t>(count), offset);
  return isWritten ? SQLITE_OK : SQLITE_FULL;
}

int truncate(sqlite3_file* file, sqlite3_int64 size) {
  return ::ftruncate(of(file).descriptor.get(), size) == 0 ? SQLITE_OK : SQLITE_IOERR_TRUNCATE;
}

int sync(sqlite3_file*, int) {
  return SQLITE_OK;  // nothing of it is to outlive the process
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
  *size = sizeOf(of(file).descriptor);
  return SQLITE_OK;
}

int lock(sqlite3_file*, int) {
  return SQLITE_OK;
}

int checkReservedLock(sqlite3_file*, int* isHeld) {
  *isHeld = 0;
  return SQLITE_OK;
}

int control(sqlite3_file*, int operation, void* argument) {
  if (operation != SQLITE_FCNTL_HAS_MOVED) return SQLITE_NOTFOUND;
  *static_cast<int*>(argument) = 0;
  return SQLITE_OK;
}

int sectorSize(sqlite3_file*) {
  return kSectorSize;
}

int characteristics(sqlite3_file*) {
  return 0;
}

int shareMemory(sqlite3_file* file, int index, int size, int, void volatile** memory) {
  auto& shared = of(file).shared;
  while (shared.size() <= static_cast<std::size_t>(index)) {
    shared.push_back(std::make_unique<char[]>(static_cast<std::size_t>(size)));
  }
  *memory = shared[static_cast<std::size_t>(index)].get();
  return SQLITE_OK;
}

int lockMemory(sqlite3_file*, int, int, int) {
  return SQLITE_OK;
}

void orderMemory(sqlite3_file*) {}

int leaveMemory(sqlite3_file* file, int) {
  of(file).shared.clear();
  return SQLITE_OK;
}

constexpr sqlite3_io_methods kMethods = {
    2,
    close,
    read,
    write,
    truncate,
    sync,
    fileSize,
    lock,
    lock,
    checkReservedLock,
    control,
    sectorSize,
    characteristics,
    shareMemory,
    lockMemory,
    orderMemory,
    leaveMemory,
    nullptr,
    nullptr,
};

sqlite3_vfs* systemFiles = nullptr;
sqlite3_vfs knownFiles;  // the system's, and the anonymous ones

int openFile(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* flagsInUse) {
  if (!isAnonymous(name)) return systemFiles->xOpen(systemFiles, name, file, flags, flagsInUse);
  file->pMethods = nullptr;
  auto contents = found(name);
  if (!contents && (flags & SQLITE_OPEN_CREATE) != 0 && fill(name, made())) contents = found(name);
  if (!contents || !contents->descriptor) return SQLITE_CANTOPEN;
  reinterpret_cast<OpenFile*>(file)->contents = new std::shared_ptr<Contents>(std::move(contents));
  file->pMethods = &kMethods;
  if (flagsInUse != nullptr) *flagsInUse = flags;
  return SQLITE_OK;
}

int deleteFile(sqlite3_vfs*, const char* name, int isSynced) {
  if (!isAnonymous(name)) return systemFiles->xDelete(systemFiles, name, isSynced);
  AnonymousFiles::remove(name);
  return SQLITE_OK;
}

int access(sqlite3_vfs*, const char* name, int flags, int* isThere) {
  if (!isAnonymous(name)) return systemFiles->xAccess(systemFiles, name, flags, isThere);
  const auto contents = found(name);
  *isThere = contents && sizeOf(contents->descriptor) > 0 ? 1 : 0;
  return SQLITE_OK;
}

int fullPath(sqlite3_vfs*, const char* name, int size, char* path) {
  if (!isAnonymous(name)) return systemFiles->xFullPathname(systemFiles, name, size, path);
  return sqlite3_snprintf(size, path, "%s", name) != nullptr ? SQLITE_OK : SQLITE_CANTOPEN;
}

void makeKnown() {
  static std::once_flag once;
  std::call_once(once, [] {
    systemFiles = sqlite3_vfs_find(nullptr);
    if (systemFiles == nullptr) return;
    knownFiles = *systemFiles;
    knownFiles.zName = "tidewell-anonymous";
    knownFiles.pNext = nullptr;
    knownFiles.szOsFile = std::max(systemFiles->szOsFile, static_cast<int>(sizeof(OpenFile)));
    knownFiles.xOpen = openFile;
    knownFiles.xDelete = deleteFile;
    knownFiles.xAccess = access;
    knownFiles.xFullPathname = fullPath;
    sqlite3_vfs_register(&knownFiles, /*makeDflt=*/1);
  });
}

}  // namespace

AnonymousFiles::AnonymousFiles() {
  makeKnown();
  const std::lock_guard lock(mutex);
  folder_ = std::string(kNowhere) + std::to_string(folders++) + '/';
}

AnonymousFiles::~AnonymousFiles() {
  const std::lock_guard lock(mutex);
  std::erase_if(files, [this](const auto& file) { return file.first.starts_with(folder_); });
}

bool AnonymousFiles::copy(const std::string& from, const std::string& path) {
  remove(path);
  const FileDescriptor source(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!source || ::fstat(source.get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  FileDescriptor file = made();
  const std::unique_ptr<char[]> bytes(new char[kChunk]);
  off_t offset = 0;
  while (file) {
    const ssize_t count = readAt(source, bytes.get(), kChunk, offset);
    if (count == 0) return fill(path, std::move(file));
    if (count < 0 || !writeAt(file, bytes.get(), static_cast<std::size_t>(count), offset)) return false;
    offset += count;
  }
  return false;
}

bool AnonymousFiles::write(const std::string& path, std::string_view contents) {
  FileDescriptor file = made();
  return file && writeAt(file, contents.data(), contents.size(), 0) && fill(path, std::move(file));
}

void AnonymousFiles::remove(const std::string& path) {
  const std::lock_guard lock(mutex);
  files.erase(path);
}

}  // namespace tidewell
