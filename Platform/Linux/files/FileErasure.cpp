#include "Platform/Linux/files/FileErasure.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <deque>
#include <span>

#include "Platform/Linux/files/BeneathFolder.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr std::size_t kSmallestBlock = 4096;  // bytes of one write
constexpr std::size_t kLargestBlock = 256 * 1024;
constexpr std::uint64_t kPiece = 1 << 20;  // bytes that are in the processor's cache for all passes
constexpr std::size_t kPasses = 3;
constexpr int kFixedPatterns[] = {0x55, 0xAA};              // the last pass writes random bytes
constexpr std::size_t kMostUnflushed = 16;                  // files that are open meanwhile
constexpr std::uint64_t kMostUnflushedBytes = 32 * kPiece;  // of them together
constexpr int kLooks = 8;
constexpr int kMostTries = 8;  // for a name that other programs give to one file after the other
constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;  // never waits for a pipe's other end

bool isSame(const struct stat& one, const struct stat& other) {
  return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

bool isAt(int folder, const std::string& name, const struct stat& file) {
  struct stat found {};
  return ::fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 && isSame(found, file);
}

/// Whether the open file has this name and no other. Another process can take the name away while the numbers are read,
/// so that a file with a second name elsewhere seems to have this one alone: so several looks in a row must agree. Two
/// changes of the names between every two of them would be needed to deceive it.
bool hasOnlyThisName(int folder, const std::string& name, int file) {
  for (int look = 0; look < kLooks; ++look) {
    struct stat opened {};
    struct stat named {};
    if (::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 || ::fstat(file, &opened) != 0 ||
        !isSame(named, opened) || named.st_nlink != 1 || opened.st_nlink != 1) {
      return false;
    }
  }
  return true;
}

/// A file with other names frees nothing, and one with holes no more than it has.
std::uint64_t bytesFreedBy(const struct stat& status) {
  constexpr std::uint64_t kInTheInode = 4096;  // so much of a file may take no block of its own
  constexpr std::uint64_t kBlock = 512;        // the unit of st_blocks, whatever the file system's
  if (!S_ISREG(status.st_mode) || status.st_nlink > 1) return 0;
  const std::uint64_t onDisk = static_cast<std::uint64_t>(status.st_blocks) * kBlock;
  return std::min(static_cast<std::uint64_t>(status.st_size), std::max(onDisk, kInTheInode));
}

using Pattern = std::span<const std::byte>;

std::error_code writeBlocks(int file, Pattern pattern, std::uint64_t from, std::uint64_t end) {
  while (from < end) {
    const std::size_t into = from % pattern.size();  // so that all but the first and the last write are aligned
    const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(pattern.size() - into, end - from));
    const ssize_t written = ::pwrite(file, pattern.data() + into, count, static_cast<off_t>(from));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    if (written == 0) return std::make_error_code(std::errc::io_error);
    from += static_cast<std::uint64_t>(written);
  }
  return {};
}

/// All passes over one extent. Each piece has them one after the other, and is then on its way to the disk while the
/// next is written.
std::error_code writePasses(int file, std::span<const Pattern, kPasses> patterns, std::uint64_t from,
                            std::uint64_t end) {
  while (from < end) {
    const std::uint64_t next = std::min(end, (from / kPiece + 1) * kPiece);
    for (const Pattern pattern : patterns) {
      if (const auto error = writeBlocks(file, pattern, from, next)) return error;
    }
    // The flush finds out what went wrong; this one only begins.
    ::sync_file_range(file, static_cast<off_t>(from), static_cast<off_t>(next - from), SYNC_FILE_RANGE_WRITE);
    from = next;
  }
  return {};
}

/// All passes over all data of the file up to `size`; its holes are left out.
std::error_code writeData(int file, std::span<const Pattern, kPasses> patterns, std::uint64_t size) {
  for (std::uint64_t at = 0; at < size;) {
    const off_t data = ::lseek(file, static_cast<off_t>(at), SEEK_DATA);
    if (data < 0) return errno == ENXIO ? std::error_code() : lastError();  // ENXIO: no more data
    const off_t hole = ::lseek(file, data, SEEK_HOLE);
    if (hole < 0) return errno == ENXIO ? std::error_code() : lastError();  // it has become shorter
    const std::uint64_t end = std::min(static_cast<std::uint64_t>(hole), size);
    if (const auto error = writePasses(file, patterns, static_cast<std::uint64_t>(data), end)) return error;
    at = static_cast<std::uint64_t>(hole);
  }
  return {};
}

std::error_code flushData(int file) {
  int result = 0;
  do {
    result = ::fdatasync(file);
  } while (result != 0 && errno == EINTR);
  return result == 0 ? std::error_code() : lastError();
}

void fillWithRandomBytes(std::span<std::byte> block) {
  while (!block.empty()) {
    const ssize_t count = ::getrandom(block.data(), block.size(), 0);
    if (count > 0) block = block.subspan(static_cast<std::size_t>(count));
  }
}

}  // namespace

FileErasure::FileErasure(Overwriting overwriting) : overwriting_(overwriting) {}

/// Most files are small, and random bytes cost more than writing them.
void FileErasure::preparePatterns(std::uint64_t size) {
  const std::size_t wanted =
      std::bit_ceil(static_cast<std::size_t>(std::clamp<std::uint64_t>(size, kSmallestBlock, kLargestBlock)));
  if (block_ >= wanted) return;
  block_ = wanted;
  patterns_ = std::make_unique<std::byte[]>(kPasses * block_);
  std::byte* block = patterns_.get();
  for (const int pattern : kFixedPatterns) {
    std::memset(block, pattern, block_);
    block += block_;
  }
  fillWithRandomBytes({block, block_});
}

FileErasure::Outcome FileErasure::failed(Outcome outcome, std::error_code error) {
  error_ = error;
  return outcome;
}

FileErasure::Outcome FileErasure::unlink(int folder, const std::string& name, const struct stat& status) {
  if (::unlinkat(folder, name.c_str(), 0) == 0) {
    freedBytes_ += bytesFreedBy(status);
    return Outcome::kRemoved;
  }
  switch (errno) {
    case ENOENT:
      return Outcome::kGone;
    case EISDIR:
      return Outcome::kIsFolder;
    case EBUSY:  // something is mounted on it
      return failed(Outcome::kOnOtherMount, lastError());
    default:
      return failed(Outcome::kFailed, lastError());
  }
}

FileErasure::Outcome FileErasure::erase(int folder, const std::string& name) {
  for (int tries = 0; tries < kMostTries; ++tries) {
    Unflushed unflushed;
    auto outcome = begin(folder, name, unflushed);
    if (!outcome && unflushed.file) outcome = finish(folder, unflushed);
    if (outcome) return *outcome;
  }
  return failed(Outcome::kNotOverwritten, std::make_error_code(std::errc::device_or_resource_busy));
}

void FileErasure::erase(int folder, std::span<const std::string> names, const Tell& tell) {
  std::deque<Unflushed> queue;
  std::uint64_t bytes = 0;
  const auto finishFirst = [&] {
    const Unflushed first = std::move(queue.front());
    queue.pop_front();
    bytes -= static_cast<std::uint64_t>(first.status.st_size);
    const auto outcome = finish(folder, first);
    tell(first.name, outcome ? *outcome : erase(folder, first.name));
  };
  for (const std::string& name : names) {
    Unflushed next;
    auto outcome = begin(folder, name, next);
    const bool hasNoDescriptor = outcome == Outcome::kNotOverwritten && error_.value() == EMFILE;
    while (hasNoDescriptor && !queue.empty()) finishFirst();
    if (next.file) {
      bytes += static_cast<std::uint64_t>(next.status.st_size);
      queue.push_back(std::move(next));
    } else {
      tell(name, outcome && !hasNoDescriptor ? *outcome : erase(folder, name));
    }
    while (queue.size() > kMostUnflushed || (bytes > kMostUnflushedBytes && !queue.empty())) finishFirst();
  }
  while (!queue.empty()) finishFirst();
}

std::optional<FileErasure::Outcome> FileErasure::begin(int folder, const std::string& name, Unflushed& unflushed) {
  struct stat status {};
  const bool isFound = ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  if (overwriting_ == Overwriting::kNone) {
    if (!isFound) status = {};  // unlink() tells why
    return unlink(folder, name, status);
  }
  if (!isFound) return errno == ENOENT ? Outcome::kGone : failed(Outcome::kFailed, lastError());
  if (S_ISDIR(status.st_mode)) return Outcome::kIsFolder;
  if (!S_ISREG(status.st_mode)) return unlink(folder, name, status);
  Result<FileDescriptor> file = openBeneath(folder, name, kFlags, Mounts::kSame);
  if (!file) return unlinkWithoutOverwriting(folder, name, file.error());
  unflushed = {std::move(*file), name, {}};
  const auto outcome = overwriteOpened(folder, unflushed);
  if (outcome) unflushed.file.reset();
  return outcome;
}

/// For a file that can't be opened for writing: it goes only if nothing of it would be left on the disk.
FileErasure::Outcome FileErasure::unlinkWithoutOverwriting(int folder, const std::string& name, std::error_code error) {
  if (error.value() == EXDEV) return failed(Outcome::kOnOtherMount, error);
  struct stat status {};
  if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? Outcome::kGone : failed(Outcome::kFailed, lastError());
  }
  if (S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_size > 0) {
    return failed(Outcome::kNotOverwritten, error);
  }
  return unlink(folder, name, status);
}

std::optional<FileErasure::Outcome> FileErasure::overwriteOpened(int folder, Unflushed& unflushed) {
  const int file = unflushed.file.get();
  struct stat& status = unflushed.status;
  if (::fstat(file, &status) != 0) return failed(Outcome::kNotOverwritten, lastError());
  if (hasOnlyThisName(folder, unflushed.name, file)) {
    const auto error = overwrite(file, static_cast<std::uint64_t>(status.st_size));
    return error ? std::optional(failed(Outcome::kNotOverwritten, error)) : std::nullopt;
  }
  // The data of a file with other names belongs to them as well, and is not lost with this one.
  const bool isThere = isAt(folder, unflushed.name, status);
  if (isThere && ::fstat(file, &status) == 0 && status.st_nlink > 1) return unlink(folder, unflushed.name, status);
  unflushed.file.reset();
  return std::nullopt;
}

std::optional<FileErasure::Outcome> FileErasure::finish(int folder, const Unflushed& unflushed) {
  if (unflushed.status.st_size > 0) {
    if (const auto error = flushData(unflushed.file.get())) return failed(Outcome::kNotOverwritten, error);
  }
  if (!isAt(folder, unflushed.name, unflushed.status)) return std::nullopt;
  return unlink(folder, unflushed.name, unflushed.status);
}

std::error_code FileErasure::overwrite(int file, std::uint64_t size) {
  if (size == 0) return {};
  preparePatterns(size);
  std::array<Pattern, kPasses> patterns;
  for (std::size_t pass = 0; pass < kPasses; ++pass) patterns[pass] = {patterns_.get() + pass * block_, block_};
  return writeData(file, patterns, size);
}

}  // namespace platform::linux_
