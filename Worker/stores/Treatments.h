// The ways to clean a store. Each takes the store's path, does nothing when the store is missing, and returns what
// became of it.
#pragma once

#include <string>

#include "Worker/formats/Kept.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell::treatments {

/// Removes the file, or the folder with all its contents.
Outcome removeWhole(const std::string& path);

/// The same for settings of sites, which the person may keep.
Outcome removeUnlessKept(const std::string& path, const Kept& kept);

/// Removes an SQLite database, with its journal, write-ahead log and shared-memory file.
Outcome removeDatabase(const std::string& path);

/// Removes everything in a folder; the folder stays.
Outcome removeEntries(const std::string& path);

/// The same, for a folder that may be granted while its parent folder is not.
Outcome removeContents(const std::string& path);

/// Removes all items in the path's folder whose names begin with the path's name, up to its final "*".
Outcome removeBeginningSo(const std::string& path);

/// In a folder with an item for each site, removes all but those of extensions.
Outcome removeChromeSites(const std::string& path);   // "http_site.example_0..."
Outcome removeFirefoxSites(const std::string& path);  // "http+++site.example"

/// Stores of earlier versions of Chromium.
Outcome deleteChannelIDs(const std::string& path);         // an SQLite database
Outcome cleanWebDatabases(const std::string& path);        // a folder for each site, and an index of them
Outcome removeLocalStorageFiles(const std::string& path);  // a file for each site

/// Chromium's local storage of all sites: a LevelDB database in the folder.
Outcome cleanLocalStorage(const std::string& path);

/// Chromium's folder of the caches that service workers fill, one for each site.
Outcome cleanCacheStorage(const std::string& path);

/// Chromium's folder of the sites' own file systems, with a LevelDB database that names the owner of each.
Outcome cleanFileSystem(const std::string& path);

/// Chromium's folder of storage buckets, with an SQLite database that names the owner of each.
Outcome cleanWebStorage(const std::string& path);

/// Chromium's settings file, which also holds entries about sites.
Outcome cleanPreferences(const std::string& path, const Kept& kept);

/// Chromium's files of tabs: removes what pages have stored with them, keeps the tabs.
Outcome cleanTabFiles(const std::string& path);  // all files in a folder
Outcome cleanOpenTabs(const std::string& path);  // one file, of earlier versions
Outcome cleanClosedTabs(const std::string& path);

/// Chromium's folder with the same tabs in encrypted files: removes those that the folder "Sessions" beside it has in
/// readable form as well.
Outcome removeEncryptedTabFiles(const std::string& path);

/// Removes what sites have registered for push messages, and the keys of these messages. Those of extensions and of the
/// browser itself stay.
Outcome cleanPushRegistrations(const std::string& path);
Outcome cleanPushKeys(const std::string& path);

/// Chromium's databases in which some tables are emptied.
Outcome cleanPredictions(const std::string& path);
Outcome cleanPaymentManifests(const std::string& path);

/// Firefox's databases in which some rows are kept.
Outcome cleanStorageIndex(const std::string& path);
Outcome deleteScopes(const std::string& path);  // local storage of earlier versions, and its archive
Outcome cleanContentPreferences(const std::string& path, const Kept& kept);

/// Firefox's database of what sites may do: keeps what belongs to extensions as well.
Outcome cleanPermissions(const std::string& path, const Kept& kept);

/// Firefox's folder of the plug-ins for protected media: removes what they keep for sites.
Outcome removeMediaLicences(const std::string& path);

/// Firefox's database of push subscriptions: removes those of sites, keeps those of the browser's account.
Outcome deletePushSubscriptions(const std::string& path);

/// Firefox's session file, or all such files in a folder: removes cookies and storage, keeps the tabs.
Outcome cleanSessionStore(const std::string& path, const Kept& kept);
Outcome cleanSessionStores(const std::string& path, const Kept& kept);

}  // namespace tidewell::treatments
