// Databases of LevelDB, in which today's browsers keep what sites store.
//
// Its files are read and written through the platform's files only, and so under the platform's checks; the caller
// holds a grant. The library's own reader is not used: it ends the process on some damaged files, and takes whatever
// memory a file asks for. Fresh tables are built by the library. Nothing runs in the background. Any thread; nothing is
// logged, nothing is thrown.
//
// Memory: see kLevelMaximalMemory and kLevelMaximalBlock; a database that would take more is left. Usually it is about
// 10 MB and five times the largest value, however large the database.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

class LevelDatabase {
 public:
  LevelDatabase() = delete;

  /// Whether an entry stays.
  using Selection = std::function<bool(std::string_view key, std::string_view value)>;

  enum class Outcome {
    kAbsent,     // no such folder, or no database in it
    kRewritten,  // a fresh database with the chosen entries alone stands in its place, or stood there before
    kRemoved,    // nothing was chosen, and everything was handed to `remove`
    kLeft,       // as it was: locked by another process, damaged beyond repair, or something failed; or it is not what
                 // this knows: keys in another order than that of bytes, or a folder with links or foreign files in it
  };

  /// Removes an item of the file system; how, is the caller's affair.
  using Removal = std::function<void(const std::string& path)>;

  /// Puts a fresh database in the place of the one in `folder`, with only those entries that `isKept`, which is asked
  /// once about each, or a second time when there is damage. Deleting in place would not do: the old keys stay readable
  /// in logs, tables and the manifest. A database in which there is nothing to leave out is not touched.
  ///
  /// The fresh files are made in "FOLDER.tidewell"; then the two change places, in one moment where the file system
  /// can, and the old files are handed to `remove`, each one, and then their folder. Before that, any failure leaves
  /// the old database as it was. `remove` may put it off, or fail: what a call leaves in "FOLDER.tidewell", because it
  /// was killed too, is removed by the next, which leaves the database until that place is free.
  ///
  /// A damaged database is repaired first: all tables and logs that are there count, whatever names them. One in which
  /// a part can't be read is removed whole, but left when `isPrecious` finds anything in the raw bytes of its files
  /// (which come piece by piece), or in a key or a value that can still be read.
  static Outcome keepOnly(const std::string& folder, const Selection& isKept,
                          const std::function<bool(std::string_view bytes)>& isPrecious, const Removal& remove);

  /// All entries, read without changing anything. Absent when there is no database, when it is locked by another
  /// process and when it can't be read.
  static std::optional<std::map<std::string, std::string>> entries(const std::string& folder);
};

}  // namespace tidewell
