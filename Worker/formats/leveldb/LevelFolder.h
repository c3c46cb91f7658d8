// The files in the folder of a LevelDB database. Read-only; no symbolic link is followed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Result.h"

namespace tidewell {

/// Where the bytes of a database's files come from.
class LevelBytes {
 public:
  virtual ~LevelBytes() = default;

  /// The bytes of a file from `offset` on, fewer where it ends.
  virtual platform::Result<std::string> read(const std::string& path, std::uint64_t offset,
                                             std::size_t count) const = 0;

  /// The platform's files. One is opened for each read: a database can have more files than a process may have open.
  static const LevelBytes& ofFiles();
};

/// A file that was in the folder when it was examined.
struct LevelFile {
  std::string path;
  std::uint64_t size = 0;  // in bytes
  const LevelBytes* bytes = nullptr;

  platform::Result<std::string> read(std::uint64_t offset, std::size_t count) const {
    return bytes->read(path, offset, count);
  }
};

struct LevelFolder {
  enum class State {
    kAbsent,    // no folder, or no file of a database in it
    kDatabase,  // at least one such file, whatever its state
    kStrange,   // not to be touched: it can't be examined, or holds what LevelDB would not have put there, such as a
                // symbolic link, a folder or a file of another name
  };

  std::string path;
  std::optional<LevelFile> current;                            // names the current manifest
  std::map<std::uint64_t, LevelFile> manifests, logs, tables;  // by their numbers
  std::vector<LevelFile> others;    // messages, temporary files; what a repair by LevelDB has set aside, in `lost`
  std::optional<std::string> lost;  // the path of that folder
  bool hasOthersFolders = false;    // there are folders that are not the database's, of the names that are allowed
  std::optional<std::string> lock;  // the path of the file that a process locks while it has the database open

  /// Examines `path`. `folder` is valid only when this returns kDatabase. Folders named in `othersFolders` may be in
  /// it.
  static State lookAt(const std::string& path, LevelFolder& folder, const std::vector<std::string>& othersFolders = {});

  /// Finds the lock file, if there is one. To be called first: the files are examined while its lock is held.
  static State findLock(const std::string& path, std::optional<std::string>& lock);

  /// All files but the lock. The first is the one without which they are no database.
  std::vector<LevelFile> files() const;

  /// A number such that no file has it or a higher one.
  std::uint64_t freeNumber() const;
};

}  // namespace tidewell
