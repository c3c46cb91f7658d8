// The ways to clean a store while sites are kept: each removes what is not theirs.
//
// Where the kept sites can't be told from the others, the store is left. Each does nothing when the store is missing,
// and returns what became of it. The list is known, and not empty.
#pragma once

#include <string>

#include "Worker/formats/Kept.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell::treatments {

/// A treatment while no site is kept, and one of these while some are.
template <Outcome (*ofAll)(const std::string& path),
          Outcome (*ofOthers)(const std::string& path, const KeptSites& sites)>
Outcome sparing(const std::string& path, const Kept& kept) {
  return kept.sites.isEmpty() ? ofAll(path) : ofOthers(path, kept.sites);
}

/// Chromium's databases of cookies, of the keys that cookies are bound to, and of the sites that a visit was led
/// through.
Outcome removeOtherChromeCookies(const std::string& path, const KeptSites& sites);
Outcome removeOtherBoundSessions(const std::string& path, const KeptSites& sites);
Outcome removeOtherChromeBounces(const std::string& path, const KeptSites& sites);

/// Chromium's folders with an item for each site, also those of earlier versions.
Outcome removeOtherChromeSites(const std::string& path, const KeptSites& sites);
Outcome removeOtherWebDatabases(const std::string& path, const KeptSites& sites);
Outcome removeOtherLocalStorageFiles(const std::string& path, const KeptSites& sites);

/// Chromium's storage with a database or an index that names the owners.
Outcome cleanOtherLocalStorage(const std::string& path, const KeptSites& sites);
Outcome cleanOtherCacheStorage(const std::string& path, const KeptSites& sites);
Outcome cleanOtherFileSystem(const std::string& path, const KeptSites& sites);
Outcome cleanOtherWebStorage(const std::string& path, const KeptSites& sites);

/// The same of Firefox.
Outcome removeOtherFirefoxCookies(const std::string& path, const KeptSites& sites);
Outcome removeOtherFirefoxBounces(const std::string& path, const KeptSites& sites);

/// Firefox's folders with an item for each site, the index of them, local storage of earlier versions, and zoom.
Outcome removeOtherFirefoxSites(const std::string& path, const KeptSites& sites);
Outcome removeFromStorageIndex(const std::string& path, const KeptSites& sites);
Outcome deleteOtherScopes(const std::string& path, const KeptSites& sites);
Outcome removeOtherContentPreferences(const std::string& path, const KeptSites& sites);

}  // namespace tidewell::treatments
