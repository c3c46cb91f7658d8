// Which entries stay in the LevelDB databases of Chromium and its relatives.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "Worker/formats/leveldb/LevelReading.h"
#include "Worker/keeping/KeptSites.h"

namespace tidewell {

enum class ChromiumDatabase : std::uint8_t {
  kLocalStorage,       // what sites have stored, and what is noted about it
  kFileSystems,        // which folder belongs to whom
  kPushRegistrations,  // who receives messages, and those that wait
  kPushKeys,           // with which they are read
};

/// Names of folders.
using FolderNames = std::set<std::string, std::less<>>;

/// Reads such a database. Entries of extensions and of kept sites stay; of the push service's, those that are not a
/// site's. Of a damaged database nothing is lost that may be somebody's whose entries stay.
///
/// The folders of owners who stay (kFileSystems) are added to `folders`, which must outlive it.
LevelReading readingOf(ChromiumDatabase database, const KeptSites& sites, FolderNames& folders);

}  // namespace tidewell
