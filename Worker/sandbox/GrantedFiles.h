// The files of today's browsers, and all files of a home without a Library, under the person's grants.
//
// The facade Sandbox is only for the operations of WorkerAppDelegate and the layout that goes with them; all other code
// uses this class. Only obtain() asks the person: elsewhere an item that is not granted yet counts as missing. No
// bookmarks of the touched items are recorded: names of sites would stay in the settings. All work is done when a call
// returns.
//
// Any thread. Paths are whole, or begin with "~".
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/database/Rows.h"
#include "Worker/database/SqlPredicate.h"
#include "Worker/formats/Rewriting.h"
#include "Worker/formats/leveldb/LevelDatabase.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell {

/// Documents that are taken into memory: far above any of a browser's, in bytes.
inline constexpr std::uint64_t kLargestDocument = std::uint64_t{64} << 20;

/// Whether a folder is granted, or what the person has said otherwise.
enum class Consent { kGiven, kRefused, kNever };

class GrantedFiles {
 public:
  GrantedFiles() = delete;

  // Grants.

  /// Obtains a grant for the folder itself, ahead of time: asks the person where there is none, who may also say
  /// "Never". A refusal is logged in one line.
  static Consent obtain(const std::string& folder);

  /// Whether there is a grant for the folder, or for one above it. One that is too wide (Operation.h) is none.
  static bool isGranted(const std::string& path);

  /// The path from the root, with the home in the place of a "~" at its beginning.
  static std::string wholePath(const std::string& path);

  // Reading.

  /// Whether there is anything at a path.
  static bool isThere(const std::string& path);

  /// Whether a path is an existing folder and no link to one.
  static bool isDirectory(const std::string& path);

  /// The bare names of a folder's entries, hidden ones included, as the file system lists them.
  static std::vector<std::string> entriesOf(const std::string& folder);

  /// The bytes of a regular file. Absent when it is missing, or larger than `largest` bytes.
  static std::optional<std::string> bytesOf(const std::string& path, std::uint64_t largest = kLargestDocument);

  /// Whether the test finds something in the bytes of a regular file. Absent when it can't be read; false when it is
  /// missing, or larger than `largest` bytes.
  static std::optional<bool> holds(const std::string& path, const std::function<bool(std::string_view bytes)>& test,
                                   std::uint64_t largest = kLargestDocument);

  /// The rows of a query; none when the database is missing. Absent when it is in use, or can't be read: `left` says
  /// so.
  static std::optional<Rows> rowsOf(const std::string& query, const std::string& database, Left& left);

  /// The process that holds a lock on a file, where that can be told.
  static std::optional<int> lockHolder(const std::string& path);

  // Removing. If the person has chosen so, every file is overwritten first; a file that could not be overwritten stays,
  // and so do the folders above it, and all that is mounted below the grant. Nothing that is missing counts.

  /// A file, or a folder with all that is in it.
  static Outcome remove(const std::string& path);

  /// The items with these names in a folder, which is much faster than one by one.
  static Outcome remove(const std::string& folder, const std::vector<std::string>& names);

  /// Everything in a folder.
  static Outcome removeContentsOf(const std::string& folder);

  // Changing.

  /// Passes a file's bytes to the rewriter and applies its result; of a file that is larger than kLargestDocument, no
  /// bytes: like one that can't be read. New contents replace the old ones atomically; the old ones are then removed.
  /// A file that is saved meanwhile is left for the next run, as it was saved last; so is one on a file system that
  /// can't exchange files.
  static Outcome rewrite(const std::string& path, const Rewriter& rewriter);

  /// Runs statements in order on a database, up to the first that fails; what they leave is all that stays in it and
  /// beside it, down to its unused pages. They can call the predicates. A missing database is nothing to do.
  static Outcome changeDatabase(const std::vector<std::string>& statements, const std::string& database,
                                const SqlPredicates& predicates = {});

  /// LevelDatabase::keepOnly() on the database in a folder; adds to the outcome.
  static LevelDatabase::Outcome keepInLevelDatabase(const std::string& folder, LevelReader& reader, Outcome& outcome,
                                                    const std::vector<std::string>& othersFolders = {});
};

}  // namespace tidewell
