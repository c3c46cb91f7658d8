// What lies in the folder of a LevelDB database. Nothing is changed, and no symbolic link is followed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Result.h"

namespace tidewell {

/// A file that was there when the folder was looked at.
struct LevelFile {
  std::string path;
  std::uint64_t size = 0;  // in bytes

  /// The bytes from `offset` on, fewer where the file ends. The file is opened for this alone: a database can have more
  /// files than a process may have open.
  platform::Result<std::string> read(std::uint64_t offset, std::size_t count) const;
};

struct LevelFolder {
  enum class State {
    kAbsent,    // no folder, or no file of a database in it
    kDatabase,  // at least one, whatever its state
    kStrange,   // not to be touched: it can't be looked at, or holds what LevelDB would not have put there, such as a
                // symbolic link, a folder or a file of another name
  };

  std::string path;
  std::optional<LevelFile> current;                            // says which manifest is the one
  std::map<std::uint64_t, LevelFile> manifests, logs, tables;  // by their numbers
  std::vector<LevelFile> others;    // messages, temporary files; what a repair by LevelDB has set aside, in `lost`
  std::optional<std::string> lost;  // the path of the folder for that
  std::optional<std::string> lock;  // the path of the file that a process locks while it has the database open

  /// Looks at `path`. Unless the answer is kDatabase, `folder` means nothing.
  static State lookAt(const std::string& path, LevelFolder& folder);

  /// The path of the lock file, if that much can be told. The first thing to ask: files are looked at when it is held.
  static State findLock(const std::string& path, std::optional<std::string>& lock);

  /// All files but the lock: first the one without which it is no database any more.
  std::vector<LevelFile> files() const;

  /// A number that no file has, nor any after it.
  std::uint64_t freeNumber() const;
};

}  // namespace tidewell
