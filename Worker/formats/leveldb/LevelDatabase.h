// Databases of LevelDB, in which today's browsers keep what sites store.
//
// Its files are read and written through the platform's files only, and so under the platform's checks; the caller
// holds a grant. The library's own reader is not used: it aborts the process on some damaged files, and allocates
// whatever a file asks for. Fresh tables are built by the library. Nothing runs in the background. Any thread; nothing
// is logged, nothing is thrown.
//
// Memory: see kLevelMaximalMemory and kLevelMaximalBlock; a database that would take more is treated as a damaged one.
// Usually it is about 10 MB and five times the largest key and value, however large the database.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

class LevelDatabase {
 public:
  LevelDatabase() = delete;

  /// Whether an entry stays. For a key of more than 64 KB this must depend on the key alone.
  using Selection = std::function<bool(std::string_view key, std::string_view value)>;

  enum class Outcome {
    kAbsent,     // no such folder, or no database in it
    kRewritten,  // a fresh database with only the chosen entries is in its place, or was there before
    kRemoved,    // nothing was chosen, and everything was passed to `remove`
    kLeft,       // as it was: locked or just opened by another process, damaged beyond repair, or something failed; or
                 // of an unknown kind: keys in another order than that of bytes, or a folder with links or foreign
                 // files in it
  };

  /// Removes an item of the file system, in the caller's way.
  using Removal = std::function<void(const std::string& path)>;

  /// Replaces the database in `folder` by a fresh one with only the entries for which `isKept` returns true. It is
  /// called once for each entry, twice when there is damage, and more often for a key of more than 64 KB. Deleting in
  /// place would not be enough: the old keys stay readable in logs, tables and the manifest. A database from which
  /// nothing has to go is not touched.
  ///
  /// The fresh files are written to "FOLDER.tidewell". Then the two folders are exchanged, atomically where the file
  /// system can, and each old file and then their folder are passed to `remove`. Before that, any failure leaves the
  /// old database as it was. `remove` may defer its work, or fail. What a call leaves in "FOLDER.tidewell", also when
  /// it is killed, is removed by the next call, which leaves the database alone until that place is free.
  ///
  /// A damaged database is repaired first: all tables and logs in the folder count, whatever the manifest says. If a
  /// part can't be read, or if memory would not do, the database is removed whole, but left when `isPrecious` returns
  /// true for anything in it that can still be read (LevelSearch.h).
  ///
  /// Folders in `folder` named in `othersFolders` are not the database's, and are not touched. While there is one, the
  /// fresh files are written beside the old ones, as where folders can't be exchanged, and the folder itself stays.
  static Outcome keepOnly(const std::string& folder, const Selection& isKept,
                          const std::function<bool(std::string_view bytes)>& isPrecious, const Removal& remove,
                          const std::vector<std::string>& othersFolders = {});

  /// All entries, read without changing anything. Absent when there is no database, when it is locked by another
  /// process and when it can't be read.
  static std::optional<std::map<std::string, std::string>> entries(const std::string& folder);
};

}  // namespace tidewell
