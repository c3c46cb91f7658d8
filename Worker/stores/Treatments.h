// The ways to clean a store. Each takes the store's path and does nothing when the store is missing.
#pragma once

#include <string>

namespace tidewell::treatments {

/// Removes the file, or the folder with all its contents.
void removeWhole(const std::string& path);

/// Removes an SQLite database, with its journal, write-ahead log and shared-memory file.
void removeDatabase(const std::string& path);

/// Removes everything in a folder; the folder stays.
void removeEntries(const std::string& path);

/// The same, for a folder that may be granted while its parent folder is not.
void removeContents(const std::string& path);

/// Removes all items in the path's folder whose names begin with the path's name, up to its final "*".
void removeBeginningSo(const std::string& path);

/// In a folder with an item for each site, removes all but those of extensions.
void removeChromeSites(const std::string& path);   // "http_site.example_0..."
void removeFirefoxSites(const std::string& path);  // "http+++site.example"

/// Stores of earlier versions of Chromium.
void deleteChannelIDs(const std::string& path);         // an SQLite database
void cleanWebDatabases(const std::string& path);        // a folder for each site, and an index of them
void removeLocalStorageFiles(const std::string& path);  // a file for each site

/// Chromium's local storage of all sites: a LevelDB database in the folder.
void cleanLocalStorage(const std::string& path);

/// Chromium's folder of the caches that service workers fill, one for each site.
void cleanCacheStorage(const std::string& path);

/// Chromium's folder of the sites' own file systems, with a LevelDB database that names the owner of each.
void cleanFileSystem(const std::string& path);

/// Chromium's folder of storage buckets, with an SQLite database that names the owner of each.
void cleanWebStorage(const std::string& path);

/// Chromium's settings file, which also holds entries about sites.
void cleanPreferences(const std::string& path);

/// Firefox's databases in which some rows are kept.
void cleanStorageIndex(const std::string& path);
void cleanStorageArchive(const std::string& path);
void deleteScopes(const std::string& path);  // local storage of earlier versions
void cleanContentPreferences(const std::string& path);

/// Firefox's session file, or all such files in a folder: removes cookies and storage, keeps the tabs.
void cleanSessionStore(const std::string& path);
void cleanSessionStores(const std::string& path);

}  // namespace tidewell::treatments
