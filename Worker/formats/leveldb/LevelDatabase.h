// Databases of LevelDB, in which today's browsers keep what sites store.
//
// Its files are read and written through the platform's files only, and so under the platform's checks; the caller
// holds a grant. A LevelReader looks into their bytes. Nothing runs in the background. Any thread; nothing is logged,
// nothing is thrown.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Worker/formats/leveldb/LevelReader.h"

namespace tidewell {

class LevelDatabase {
 public:
  LevelDatabase() = delete;

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

  /// Replaces the database in `folder` by a fresh one with only the entries that stay, as the reader has it. Deleting
  /// in place would not be enough: the old keys stay readable in logs, tables and the manifest. A database from which
  /// nothing has to go is not touched.
  ///
  /// The fresh files are written to "FOLDER.tidewell". Then the two folders are exchanged, atomically where the file
  /// system can, and each old file and then their folder are passed to `remove`. Before that, any failure leaves the
  /// old database as it was. `remove` may defer its work, or fail. What a call leaves in "FOLDER.tidewell", also when
  /// it is killed, is removed by the next call, which leaves the database alone until that place is free.
  ///
  /// Folders in `folder` named in `othersFolders` are not the database's, and are not touched. While there is one, the
  /// fresh files are written beside the old ones, as where folders can't be exchanged, and the folder itself stays.
  static Outcome keepOnly(const std::string& folder, LevelReader& reader, const Removal& remove,
                          const std::vector<std::string>& othersFolders = {});

  /// All entries, read without changing anything. Absent when there is no database, when it is locked by another
  /// process and when it can't be read.
  static std::optional<std::map<std::string, std::string>> entries(const std::string& folder);
};

}  // namespace tidewell
