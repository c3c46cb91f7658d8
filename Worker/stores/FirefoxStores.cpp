// The stores of Firefox and its relatives. As of Firefox ESR 153.

#include "Worker/stores/SparingTreatments.h"
#include "Worker/stores/StoreTables.h"
#include "Worker/stores/Treatments.h"

namespace tidewell {
namespace {

using namespace treatments;  // NOLINT: names of the tables below, and of nothing else

using enum StoreAge;
using enum StoreGroup;

constexpr Store kProfile[] = {
    {kReplaced, kCookies, "cookies.sqlite", sparing<removeWhole, removeOtherFirefoxCookies>, "cookies"},
    {kOld, kCookies, "permissions.sqlite", cleanPermissions, "what sites were allowed"},
    {kOld, kSiteStorage, "webappsstore.sqlite", sparing<deleteScopes, deleteOtherScopes>,
     "local storage, of earlier versions"},
    {kReplaced, kSiteStorage, "storage/default", sparing<removeWhole, removeOtherFirefoxSites>,
     "databases, caches and local storage of sites"},
    {kReplaced, kSiteStorage, "storage/temporary", sparing<removeWhole, removeOtherFirefoxSites>,
     "what sites asked to be kept only for a while"},
    {kOld, kCaches, "SiteSecurityServiceState.txt", removeWhole, "sites that demand secure connections"},

    {kCurrent, kCookies, "cookies.sqlite", sparing<removeDatabase, removeOtherFirefoxCookies>, "cookies"},
    {kCurrent, kCookies, "cookies.sqlite.bak", removeWhole, "the same, from before a repair"},
    {kCurrent, kCookies, "cookies.sqlite.bak-rebuild", removeWhole, "the same, during a repair"},
    {kCurrent, kCookies, "credentialstate.sqlite", removeDatabase, "with which accounts sites know the person"},
    {kCurrent, kCookies, "sessionstore.jsonlz4", cleanSessionStore, "cookies and storage of the open tabs"},
    {kCurrent, kCookies, "sessionstore-backups", cleanSessionStores, "the same, as it was a while ago"},
    {kCurrent, kCookies, "bounce-tracking-protection.sqlite", sparing<removeDatabase, removeOtherFirefoxBounces>,
     "sites that a visit was led through"},
    {kCurrent, kCookies, "content-prefs.sqlite", cleanContentPreferences, "zoom and other preferences by site"},
    {kCurrent, kCookies, "enumerate_devices.txt", removeWhole,
     "what makes the names of cameras and microphones a site's own"},

    {kCurrent, kSiteStorage, "storage/default", sparing<removeFirefoxSites, removeOtherFirefoxSites>,
     "databases, caches and local storage of sites"},
    {kCurrent, kSiteStorage, "storage/temporary", sparing<removeFirefoxSites, removeOtherFirefoxSites>,
     "what sites asked to be kept only for a while"},
    {kCurrent, kSiteStorage, "storage/to-be-removed", removeEntries, "what the browser was about to remove"},
    {kCurrent, kSiteStorage, "storage/private", removeEntries, "storage of private windows"},
    {kCurrent, kSiteStorage, "storage.sqlite", sparing<cleanStorageIndex, removeFromStorageIndex>,
     "which sites have storage"},
    {kCurrent, kSiteStorage, "storage/ls-archive.sqlite", sparing<deleteScopes, deleteOtherScopes>,
     "local storage as earlier versions kept it"},
    {kCurrent, kSiteStorage, "serviceworker.txt", removeWhole, "which sites have service workers"},
    {kCurrent, kSiteStorage, "storage/permanent/chrome/idb/2918063365piupsah.sqlite", deletePushSubscriptions,
     "subscriptions to push messages"},
    {kCurrent, kSiteStorage, "notificationstore.json", removeWhole, "notifications of sites"},
    {kCurrent, kSiteStorage, "gmp", removeMediaLicences, "licences and identifiers of protected media"},
    {kCurrent, kSiteStorage, "crashes/events", removeEntries, "on which page the browser crashed"},
    {kCurrent, kSiteStorage, "minidumps", removeEntries, "memory of a browser that crashed, with the pages in it"},

    {kCurrent, kCaches, "SiteSecurityServiceState.bin", removeWhole, "sites that demand secure connections"},
    {kCurrent, kCaches, "SiteIntegrityServiceState.bin", removeWhole, "sites that demand signed scripts"},
    {kCurrent, kCaches, "ssl_tokens_cache.bin", removeWhole, "tokens by which servers know a secure connection again"},
    {kCurrent, kCookies, "ClientAuthRememberList.bin", removeUnlessKept,
     "which certificate of the person's a site gets"},
    {kCurrent, kCaches, "AlternateServices.bin", removeWhole, "other servers at which sites can be reached"},
    {kCurrent, kCaches, "AlternateServices.txt", removeWhole, "the same, of earlier versions"},
};

constexpr Store kData[] = {
    {kCurrent, kSiteStorage, "Crash Reports/pending", removeEntries,
     "memory of a browser that crashed, with the pages in it"},
};

constexpr Store kProfileCaches[] = {
    {kOld, kCaches, "Cache", removeWhole, "pages and pictures, of earlier versions"},
    {kOld, kCaches, "OfflineCache", removeWhole, "pages that sites wanted to be kept"},
    {kOld, kCaches, "startupCache", removeWhole, "what the browser had compiled"},

    {kCurrent, kCaches, "cache2", removeWhole, "pages and pictures"},
    {kCurrent, kCaches, "startupCache", removeWhole, "what the browser had compiled"},
    {kCurrent, kCaches, "thumbnails", removeWhole, "pictures of pages"},
};

}  // namespace

const StoreTables kFirefoxStores{kProfile, kData, kProfileCaches, {}};

}  // namespace tidewell
