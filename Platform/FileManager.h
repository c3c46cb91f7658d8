// Files and folders, under the grants that are open.
//
// Every action resolves the item's folder, refuses what lies inside no open security scope
// (std::errc::operation_not_permitted), and never acts outside one, whatever is swapped in meanwhile. Checking for
// existence and standardising a path need no scope. A path that holds a NUL byte names nothing
// (std::errc::invalid_argument); a relative path counts from "/".
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/FileURL.h"
#include "Platform/Result.h"
#include "Platform/Value.h"

namespace platform {

/// Keys and values of a file's attributes.
inline constexpr char kFileType[] = "NSFileType";                                // one of the types below, a string
inline constexpr char kFileSize[] = "NSFileSize";                                // bytes, an integer
inline constexpr char kFileModificationDate[] = "NSFileModificationDate";        // a date
inline constexpr char kFileCreationDate[] = "NSFileCreationDate";                // a date; missing where not recorded
inline constexpr char kFilePosixPermissions[] = "NSFilePosixPermissions";        // the mode's lower 12 bits, an integer
inline constexpr char kFileReferenceCount[] = "NSFileReferenceCount";            // hard links, an integer
inline constexpr char kFileOwnerAccountID[] = "NSFileOwnerAccountID";            // an integer
inline constexpr char kFileGroupOwnerAccountID[] = "NSFileGroupOwnerAccountID";  // an integer
inline constexpr char kFileSystemFileNumber[] = "NSFileSystemFileNumber";        // the inode's number, an integer

inline constexpr char kFileTypeDirectory[] = "NSFileTypeDirectory";
inline constexpr char kFileTypeRegular[] = "NSFileTypeRegular";
inline constexpr char kFileTypeSymbolicLink[] = "NSFileTypeSymbolicLink";
inline constexpr char kFileTypeSocket[] = "NSFileTypeSocket";
inline constexpr char kFileTypeCharacterSpecial[] = "NSFileTypeCharacterSpecial";
inline constexpr char kFileTypeBlockSpecial[] = "NSFileTypeBlockSpecial";
inline constexpr char kFileTypeUnknown[] = "NSFileTypeUnknown";

/// A walk over everything below a folder: deep, hidden items included, links not followed, in the order in which the
/// file system lists entries, a folder before its contents.
class DirectoryEnumerator {
 public:
  virtual ~DirectoryEnumerator() = default;

  /// The next item, or absent at the end of the walk.
  virtual std::optional<FileURL> nextObject() = 0;
};

/// A file that was checked and must not be exchanged for another.
class PinnedRegularFile {
 public:
  virtual ~PinnedRegularFile() = default;

  /// The file's real path, without links and dots.
  virtual const std::string& path() const = 0;

  /// Whether that path still leads to the file.
  virtual bool isInPlace() const = 0;
};

/// Which file it is, and in which state.
struct FileVersion {
  std::uint64_t device = 0;
  std::uint64_t number = 0;          // of the inode; no other file gets it as long as this one is open
  std::uint64_t size = 0;            // in bytes
  std::int64_t modifiedSeconds = 0;  // since 1970
  std::int64_t modifiedNanoseconds = 0;

  bool operator==(const FileVersion&) const = default;
};

/// A regular file that is read piece by piece. Any thread.
class ReadableFile {
 public:
  virtual ~ReadableFile() = default;

  /// The version that the file is in now.
  virtual Result<FileVersion> version() const = 0;

  /// In bytes, at the moment when it was opened.
  virtual std::uint64_t size() const = 0;

  /// The bytes from `offset` on: `count` of them, or fewer where the file ends.
  virtual Result<std::string> read(std::uint64_t offset, std::size_t count) const = 0;
};

/// Holds a file locked against other processes as long as it lives.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

/// Called when an item of a walk can't be read; returns whether the walk goes on.
using EnumerationErrorHandler = std::function<bool(const FileURL& url, std::error_code error)>;

enum class Overwriting { kNone, kThreePasses };

/// What became of an item that was to be erased, with all that is in it.
struct Erasure {
  std::uint64_t removed = 0;         // files, links and folders that are gone now
  std::uint64_t removedBytes = 0;    // disk space of the files that are gone, as far as it is free now
  std::uint64_t notOverwritten = 0;  // files that stay because they could not be overwritten
  std::uint64_t onOtherMounts = 0;   // items that stay because they lie on another mount than the grant
  std::uint64_t failed = 0;          // other items that stay, not counting the folders that they are in
  std::error_code error;             // the reason for the first that stays; operation_not_permitted outside every grant

  bool leftNothing() const { return !error; }
};

/// What happens to an overwritten file whose new bytes can't be flushed to the disk.
enum class UnflushedFile { isRemoved, stays };

/// All operations may be called from any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;

  // Names. These read the disk and change nothing.

  /// The file URL of a path: a folder's when the path ends in "/" or names a folder.
  virtual FileURL fileURLWithPath(const std::string& path) const = 0;

  /// Without ".", repeated slashes and "..", the last resolved as the file system would (through symbolic links).
  virtual FileURL standardizedURL(const FileURL& url) const = 0;

  /// With the symbolic links resolved in as much of the path as exists.
  virtual FileURL urlByResolvingSymlinks(const FileURL& url) const = 0;

  // Existence. Symbolic links are followed; a link that leads nowhere does not exist.

  virtual bool fileExists(const std::string& path) const = 0;
  /// `isDirectory` is set only when the item exists.
  virtual bool fileExists(const std::string& path, bool& isDirectory) const = 0;

  /// Whether a regular file is at the path itself: a link to one is none.
  virtual bool isRegularFile(const std::string& path) const = 0;

  /// Why the item can't be reached; no error when it can. std::errc::no_such_file_or_directory when there is none.
  virtual std::error_code checkResourceIsReachable(const std::string& path) const = 0;

  /// Whether a folder holds nothing; also true when it can't be listed.
  virtual bool mayBeEmptyFolder(const std::string& path) const = 0;

  // Reading.

  /// The whole of a regular file as text; std::errc::illegal_byte_sequence when it is not valid UTF-8,
  /// std::errc::file_too_large above 64 MiB.
  virtual Result<std::string> stringWithContentsOfFile(const std::string& path) const = 0;

  /// A regular file, to be read piece by piece. A symbolic link is not followed:
  /// std::errc::too_many_symbolic_link_levels.
  virtual Result<std::unique_ptr<ReadableFile>> readableFile(const std::string& path) const = 0;

  /// The bare names of a folder's entries, hidden ones included, without "." and "..", in the file system's order.
  virtual Result<std::vector<std::string>> contentsOfDirectory(const std::string& path) const = 0;

  /// The attributes of the item itself (a symbolic link is not followed), under the keys above.
  virtual Result<Value::Dictionary> attributesOfItem(const std::string& path) const = 0;

  /// A walk below the folder. With a null `errorHandler` it continues past what can't be read.
  virtual std::unique_ptr<DirectoryEnumerator> enumeratorAtURL(const FileURL& folder,
                                                               EnumerationErrorHandler errorHandler) const = 0;

  // Removing.

  /// Removes a file, a symbolic link (never what it leads to) or a folder with all of its contents. In a folder it
  /// continues past what it can't remove. The error is that of the first item that stays, or
  /// std::errc::no_such_file_or_directory when there is none.
  virtual Erasure removeItem(const std::string& path) = 0;

  /// As removeItem(), for an item whose contents were overwritten just now: the data of a regular file is flushed to
  /// the disk once before the file is removed, since the file system may otherwise drop the overwritten pages together
  /// with the file, and the old bytes stay readable on the disk. A folder is not flushed. Returns the error of the
  /// flush when the file stays because of it.
  virtual Erasure removeOverwrittenItem(const std::string& path, UnflushedFile unflushed) = 0;

  /// Erases a file, a symbolic link (never what it leads to) or a folder with all of its contents, going on past what
  /// has to stay. A missing item is no error.
  ///
  /// Never leaves the mount that the grant lies on: what is mounted inside it stays, be it a folder or a single file.
  /// With kThreePasses every regular file is overwritten in place with 0x55, 0xAA and random bytes, flushed to the disk
  /// once, and then removed; holes are not filled, and a file that could not be overwritten stays. A file that has
  /// other names (hard links) is never overwritten: its name is removed.
  virtual Erasure eraseItem(const std::string& path, Overwriting overwriting) = 0;

  /// The same for the items with these names in one folder, in any order. Names that are no bare names are refused.
  virtual Erasure eraseItems(const std::string& folder, const std::vector<std::string>& names,
                             Overwriting overwriting) = 0;

  // Replacing.

  /// Makes a folder that only its owner can enter. std::errc::file_exists when anything is there, a link included.
  virtual std::error_code createFolder(const std::string& path) = 0;

  /// Makes a file with these contents and permissions (the mode's lower 9 bits), which are on the disk when this
  /// returns. std::errc::file_exists when anything is there, a link included; after a failure there is no file.
  virtual std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) = 0;

  /// Exchanges two items atomically: neither is ever missing. Links are not followed. std::errc::not_supported where
  /// the file system can't.
  virtual std::error_code exchangeItems(const std::string& path, const std::string& other) = 0;

  /// Exchanges a file with `other`, unless it is no longer in the version that was read: then whoever saved it keeps
  /// what was saved last. Both are in one folder; the file that was read must still be open, and nobody else may use
  /// the name `other`. Returns
  /// - true: at `other` is the file that was read;
  /// - false: the file stays as it was saved last; at `other` is what is not needed any more, or nothing;
  /// - std::errc::not_supported where the file system can't exchange: nothing has changed;
  /// - any other error: nothing is known of what is at `other`. It may be the last thing that was saved.
  virtual Result<bool> exchangeUnlessChanged(const std::string& path, const std::string& other,
                                             const FileVersion& read) = 0;

  /// Likewise moves the file to `other`, where nothing may be, so that it can be removed there.
  virtual Result<bool> moveUnlessChanged(const std::string& path, const std::string& other,
                                         const FileVersion& read) = 0;

  /// Locks an existing regular file, whole and for writing, as databases lock theirs (a POSIX record lock). Never
  /// waits: std::errc::resource_unavailable_try_again while a lock on it is held, and when it was replaced just now.
  /// This process must not open the file in another way meanwhile: closing it again would end the lock.
  virtual Result<std::unique_ptr<FileLock>> lockFile(const std::string& path) = 0;

  /// The process that holds a lock on a regular file, of any part of it; absent when none does, when it can't be told,
  /// and while this process has the file locked.
  virtual std::optional<int> lockHolder(const std::string& path) const = 0;

  // Copying.

  /// Copies a file of the program's own, with its permissions, to a place inside an open scope. std::errc::file_exists
  /// when something is there already; that stays as it is.
  virtual std::error_code copyItem(const FileURL& source, const FileURL& destination) = 0;

  // Files for libraries.

  /// A regular file, for a library that takes a path: refused like every action when it lies in no open scope, with
  /// symbolic links followed.
  virtual Result<std::unique_ptr<PinnedRegularFile>> pinnedFile(const std::string& path) const = 0;

  // Places.

  /// The folder from which user scripts of this program run; made when it is missing and `create` is true.
  virtual Result<FileURL> applicationScriptsDirectory(bool create) = 0;
};

}  // namespace platform
