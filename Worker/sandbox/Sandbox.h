// The one door through which the worker touches the file system.
//
// Class operations only, no state. Each takes a path that may begin with "~", records a bookmark for it where one can
// be made, obtains access to a folder under the person's grants, performs one action while the access is held, and
// hands a plain result back. An absent path gives the empty result at once. A refused access gives the empty result and
// exactly one line in the log, "Sandbox has denied access to " and the path; no other failure is told to anyone.
//
// Any thread may call. The panel that a first access may need runs on the main thread while the caller waits.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Value.h"
#include "Worker/database/Rows.h"
#include "Worker/formats/Rewriting.h"
#include "Worker/formats/leveldb/LevelDatabase.h"

namespace tidewell {

/// Whether a path is an existing folder and no link to one. Through the facade below.
bool isDirectory(const std::string& path);

class Sandbox {
 public:
  Sandbox() = delete;

  using Path = std::optional<std::string>;

  /// Obtains a grant ahead of time: for the folder itself when its parent has 4 or 5 components, else for the parent.
  static void access(const Path& path);

  /// Removes a file, or a folder with all of its contents; overwrites first when the person wants that, and then leaves
  /// in place what could not be overwritten. Returns before it is done; nothing tells when, or whether, it happened.
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

  /// Runs one SQL statement on a database file, where there is one; its rows are discarded. Returns before it is done.
  /// An absent path does nothing.
  static void runSql_onfile(const std::string& sql, const Path& path);

  /// The rows of one SQL statement, in its order. Absent only for an absent path; empty when there is no such file,
  /// when the statement fails and when access is refused.
  static std::optional<Rows> returnArrayFromSql_onfile(const std::string& sql, const Path& path);

  // What the stores of today's browsers and homes without a Library need beside that. No bookmark is recorded of what
  // these touch: names of sites would stay in the settings. All but the removals return when they are done.

  /// Obtains a grant for the folder itself, ahead of time. Answers whether there is one now.
  static bool accessFolder(const Path& path);

  /// Whether there is a grant for the folder, or for one above it. Nobody is asked.
  static bool isGranted(const std::string& path);

  /// As folderContentsOf(), under the grant of the folder itself.
  static std::vector<std::string> entriesOf(const Path& path);

  /// Removes everything in a folder, under the grant of the folder itself. The removals are under way on return.
  static void removeContentsOf(const Path& path);

  /// Removes as remove() does, and overwrites every file in a folder, too, when the person wants that: what could not
  /// be overwritten stays, and so does the folder then.
  static void removeTree(const Path& path);

  /// The bytes of a regular file. Absent when it is missing or too large to be taken into memory, and when access is
  /// refused.
  static std::optional<std::string> bytesOf(const Path& path);

  /// Hands a file's bytes to the function and does with the file what that answers. New contents take the place of the
  /// old in one moment; the old ones are then removed as remove() does.
  static void rewrite(const Path& path, const Rewriter& rewriter);

  /// Runs statements on a database file, where there is one, one after the other on one connection.
  static void runStatements_onfile(const std::vector<std::string>& statements, const Path& path);

  /// LevelDatabase, on the database in a folder.
  static LevelDatabase::Outcome keepInLevelDatabase(const Path& path, const LevelDatabase::Selection& isKept,
                                                    const std::function<bool(std::string_view bytes)>& isPrecious);

  /// Makes sure that Safari's cookie script is installed: offers to save it when it is missing.
  static void checkForScriptInFolder();

  /// Replaces a leading "~" by the setting "userFolder", the only source for the home folder.
  static Path checkForUserDirectory(const Path& path);
};

}  // namespace tidewell
