// The files of today's browsers, and all files of a home without a Library, under the person's grants.
//
// The facade Sandbox is for the operations of WorkerAppDelegate alone; everything else goes through here. Nothing here
// asks the person but obtain(): without a grant that is there already an item counts as not there. No bookmark is
// recorded of what is touched: names of sites would stay in the settings. Everything is done when the call returns.
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

  /// Obtains a grant for the folder itself, ahead of time: asks the person where there is none. Answers whether there
  /// is one now; a refusal is one line in the log.
  static bool obtain(const std::string& folder);

  /// Whether there is a grant for the folder, or for one above it.
  static bool isGranted(const std::string& path);

  // Looking.

  /// Whether a path is an existing folder and no link to one.
  static bool isDirectory(const std::string& path);

  /// The bare names of a folder's entries, hidden ones included, as the file system lists them.
  static std::vector<std::string> entriesOf(const std::string& folder);

  /// The bytes of a regular file. Absent when it is missing or too large to be taken into memory.
  static std::optional<std::string> bytesOf(const std::string& path);

  // Removing. When the person wants that, every file is overwritten first: what could not be overwritten stays, and so
  // do the folders that it lies in.

  /// A file, or a folder with all that is in it.
  static void remove(const std::string& path);

  /// Everything in a folder.
  static void removeContentsOf(const std::string& folder);

  // Changing.

  /// Hands a file's bytes to the function and does with the file what that answers. New contents take the place of the
  /// old in one moment; the old ones are then removed.
  static void rewrite(const std::string& path, const Rewriter& rewriter);

  /// Runs statements on a database file, where there is one, one after the other on one connection, up to one that
  /// fails. Answers the rows of the last.
  static Rows runStatements(const std::vector<std::string>& statements, const std::string& path);

  /// LevelDatabase, on the database in a folder.
  static LevelDatabase::Outcome keepInLevelDatabase(const std::string& folder, const LevelDatabase::Selection& isKept,
                                                    const std::function<bool(std::string_view bytes)>& isPrecious);
};

}  // namespace tidewell
