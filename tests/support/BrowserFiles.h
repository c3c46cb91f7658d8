// Files in the formats of today's browsers, for tests.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace testing_support {

using LevelEntries = std::map<std::string, std::string>;

/// Writes entries into a LevelDB database, which is created when it is missing, with the folders above it.
void putInLevelDatabase(const std::string& folder, const LevelEntries& entries);

/// The entries that LevelDB reads, with all of its checks; absent when it can't open the database. Reads a copy.
std::optional<LevelEntries> levelEntriesOf(const std::string& folder);

/// Packs JSON text into a file of Firefox's session; unpacks the text of such a file, "" for any other.
std::string packedSession(const std::string& text);
std::string unpackedSession(const std::string& file);

/// The index of one origin's caches in a Chromium; the storage key is the origin unless another is given.
std::string cacheStorageIndexOf(const std::string& origin, const std::string& storageKey = "");

}  // namespace testing_support
