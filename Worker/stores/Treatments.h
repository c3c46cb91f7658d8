// What can become of a store. Each takes the store's path and does nothing where there is none.
#pragma once

#include <string>

namespace tidewell::treatments {

/// The file, or the folder with all that is in it.
void removeWhole(const std::string& path);

/// A database of SQLite, with the files that it may have beside it.
void removeDatabase(const std::string& path);

/// All that lies in a folder; the folder stays.
void removeEntries(const std::string& path);

/// The same, for a folder that may be granted by itself, without the one that it lies in.
void removeContents(const std::string& path);

/// In the path's folder everything whose name begins as the path does, up to its "*".
void removeBeginningSo(const std::string& path);

/// In a folder with an item for each site: all but those of extensions.
void removeChromeSites(const std::string& path);   // "http_site.example_0..."
void removeFirefoxSites(const std::string& path);  // "http+++site.example"

/// Stores of earlier versions of Chromium.
void deleteChannelIDs(const std::string& path);         // a database of SQLite
void cleanWebDatabases(const std::string& path);        // a folder for each site, and an index of them
void removeLocalStorageFiles(const std::string& path);  // a file for each site

/// Chromium's local storage of all sites: a LevelDB database in the folder.
void cleanLocalStorage(const std::string& path);

/// Chromium's folder of the caches that service workers fill, one for each site.
void cleanCacheStorage(const std::string& path);

/// Chromium's folder of the sites' own file systems, with a LevelDB database that says whose each is.
void cleanFileSystem(const std::string& path);

/// Chromium's folder of the storage that sites have set apart, with a database of SQLite that says whose each is.
void cleanWebStorage(const std::string& path);

/// Chromium's file of settings, in which it notes things by site as well.
void cleanPreferences(const std::string& path);

/// Firefox's databases, of which rows stay.
void cleanStorageIndex(const std::string& path);
void cleanStorageArchive(const std::string& path);
void deleteScopes(const std::string& path);  // local storage of earlier versions
void cleanContentPreferences(const std::string& path);

/// A file of Firefox's tabs, or all such files in a folder: cookies and storage go, the tabs stay.
void cleanSessionStore(const std::string& path);
void cleanSessionStores(const std::string& path);

}  // namespace tidewell::treatments
