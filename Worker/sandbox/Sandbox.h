// The only access to the file system for the operations of WorkerAppDelegate and the layout that goes with them. All
// other code uses GrantedFiles.
//
// Class operations only, no state. Each takes a path that may begin with "~", records a bookmark for it where one can
// be made, obtains access to a folder under the person's grants, performs one action while the access is held, and
// returns a plain result. An absent path gives the empty result at once. A refused access gives the empty result and
// exactly one line in the log, "Sandbox has denied access to " and the path; no other failure is reported.
//
// Any thread may call. The panel that a first access may need runs on the main thread while the caller waits.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Value.h"
#include "Worker/database/Rows.h"

namespace tidewell {

/// Whether a path is an existing folder and no link to one. Through the facade below.
bool isDirectory(const std::string& path);

class Sandbox {
 public:
  Sandbox() = delete;

  using Path = std::optional<std::string>;

  /// Obtains a grant ahead of time: for the folder itself when its parent has 4 or 5 components, else for the parent.
  static void access(const Path& path);

  /// Removes a file, or a folder with all of its contents; if the person has chosen so, overwrites it first, and leaves
  /// in place what could not be overwritten. Returns before the removal is done; its outcome is not reported.
  static void remove(const Path& path);

  /// remove() for each path, in order.
  static void removeFiles(const std::optional<std::vector<std::string>>& paths);

  /// The whole of a file as text. Absent when access is granted but the file is missing or not valid UTF-8; "" when
  /// access is refused. Callers treat both as no content.
  static std::optional<std::string> contentsOf(const Path& path);

  /// The bare names of a folder's entries, hidden ones included, as the file system lists them.
  static std::vector<std::string> folderContentsOf(const Path& path);

  static bool fileExists(const Path& path);

  /// True only for an existing folder; a symbolic link to a folder counts as one.
  static bool fileIsDirectory(const Path& path);

  /// The item's attributes under the keys of platform::FileManager; empty when it is missing.
  static platform::Value::Dictionary fileAttributes(const Path& path);

  /// Runs one SQL statement on a database file that exists; its rows are discarded. Returns before it is done. An
  /// absent path does nothing.
  static void runSql_onfile(const std::string& sql, const Path& path);

  /// The rows of one SQL statement, in its order. Absent only for an absent path; empty when there is no such file,
  /// when the statement fails and when access is refused.
  static std::optional<Rows> returnArrayFromSql_onfile(const std::string& sql, const Path& path);

  /// Makes sure that Safari's cookie script is installed: offers to save it when it is missing.
  static void checkForScriptInFolder();

  /// Replaces a leading "~" by the setting "userFolder", the only source for the home folder.
  static Path checkForUserDirectory(const Path& path);
};

}  // namespace tidewell
