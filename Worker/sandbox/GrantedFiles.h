// The files of today's browsers, and all files of a home without a Library, under the person's grants.
//
// The facade Sandbox is only for the operations of WorkerAppDelegate and the layout that goes with them; all other code
// uses this class. Only obtain() asks the person: elsewhere an item that is not granted yet counts as missing. No
// bookmarks of the touched items are recorded: names of sites would stay in the settings. All work is done when a call
// returns.
//
// Any thread. Paths are whole, or begin with "~".
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/database/Rows.h"
#include "Worker/formats/Rewriting.h"
#include "Worker/formats/leveldb/LevelDatabase.h"

namespace tidewell {

class GrantedFiles {
 public:
  GrantedFiles() = delete;

  // Grants.

  /// Obtains a grant for the folder itself, ahead of time: asks the person where there is none. Returns whether there
  /// is one now; a refusal is logged in one line.
  static bool obtain(const std::string& folder);

  /// Whether there is a grant for the folder, or for one above it. One that is too wide (Operation.h) is none.
  static bool isGranted(const std::string& path);

  // Reading.

  /// Whether a path is an existing folder and no link to one.
  static bool isDirectory(const std::string& path);

  /// The bare names of a folder's entries, hidden ones included, as the file system lists them.
  static std::vector<std::string> entriesOf(const std::string& folder);

  /// The bytes of a regular file. Absent when it is missing or too large to be taken into memory.
  static std::optional<std::string> bytesOf(const std::string& path);

  // Removing. If the person has chosen so, every file is overwritten first; a file that could not be overwritten stays,
  // and so do the folders above it.

  /// A file, or a folder with all that is in it.
  static void remove(const std::string& path);

  /// Everything in a folder.
  static void removeContentsOf(const std::string& folder);

  // Changing.

  /// Passes a file's bytes to the rewriter and applies its result. New contents replace the old ones atomically; the
  /// old ones are then removed.
  static void rewrite(const std::string& path, const Rewriter& rewriter);

  /// Runs statements in order, on one connection, on a database file that exists, up to the first that fails. Returns
  /// the rows of the last one, or none after a failure.
  static Rows runStatements(const std::vector<std::string>& statements, const std::string& path);

  /// LevelDatabase::keepOnly() on the database in a folder.
  static LevelDatabase::Outcome keepInLevelDatabase(const std::string& folder, const LevelDatabase::Selection& isKept,
                                                    const std::function<bool(std::string_view bytes)>& isPrecious);
};

}  // namespace tidewell
