#include "Worker/stores/CurrentStores.h"

#include "Worker/stores/Treatments.h"

namespace tidewell {
namespace {

using namespace treatments;  // NOLINT: names of the table below, and of nothing else

constexpr StoreGroup kCookies = StoreGroup::kCookies;
constexpr StoreGroup kSiteStorage = StoreGroup::kSiteStorage;
constexpr StoreGroup kCaches = StoreGroup::kCaches;

// Seen in Chromium 156, with those of earlier versions that profiles may still have.
constexpr Store kChromeProfile[] = {
    {kCookies, "Cookies", removeDatabase, "cookies"},
    {kCookies, "Network/Cookies", removeDatabase, "cookies, where newer versions keep them"},
    {kCookies, "Safe Browsing Cookies", removeDatabase, "cookies of the service that warns of dangerous sites"},
    {kCookies, "Trust Tokens", removeDatabase, "tokens by which sites vouch for a visitor to each other"},
    {kCookies, "MediaDeviceSalts", removeDatabase, "what makes the names of cameras and microphones a site's own"},
    {kCookies, "DIPS", removeDatabase, "sites that a visit was led through"},
    {kCookies, "Preferences", cleanPreferences, "permissions, client hints and zoom by site"},

    {kSiteStorage, "Local Storage/leveldb", cleanLocalStorage, "local storage"},
    {kSiteStorage, "Session Storage", removeWhole, "storage of single tabs"},
    {kSiteStorage, "IndexedDB", removeChromeSites, "databases of sites"},
    {kSiteStorage, "Service Worker/Database", removeWhole, "which sites have service workers"},
    {kSiteStorage, "Service Worker/ScriptCache", removeWhole, "the scripts of service workers"},
    {kSiteStorage, "Service Worker/CacheStorage", cleanCacheStorage, "caches that scripts of sites fill"},
    {kSiteStorage, "File System", cleanFileSystem, "files in the sites' own file systems"},
    {kSiteStorage, "WebStorage", cleanWebStorage, "storage buckets, and whose they are"},
    {kSiteStorage, "SharedStorage", removeDatabase, "storage that sites share between them"},
    {kSiteStorage, "InterestGroups", removeDatabase, "interests that advertisers have noted"},
    {kSiteStorage, "PrivateAggregation", removeDatabase, "reports to advertisers that wait to be sent"},
    {kSiteStorage, "Conversions", removeDatabase, "which advertisement led to which purchase"},
    {kSiteStorage, "BrowsingTopicsState", removeWhole, "topics that were derived from the sites visited"},
    {kSiteStorage, "BrowsingTopicsSiteData", removeDatabase, "which sites asked for these topics"},
    {kSiteStorage, "Platform Notifications", removeWhole, "notifications of sites"},
    {kSiteStorage, "Site Characteristics Database", removeWhole, "how sites behave in the background"},
    {kSiteStorage, "PersistentOriginTrials", removeWhole, "sites that try out new functions"},
    {kSiteStorage, "BudgetDatabase", removeWhole, "how much sites may do in the background"},
    {kSiteStorage, ".org.chromium.Chromium.*", removeBeginningSo, "files that the browser was about to put in place"},
    {kSiteStorage, ".com.google.Chrome.*", removeBeginningSo, "the same"},
    {kSiteStorage, "blob_storage", removeWhole, "data of sites that did not fit in memory"},

    {kCaches, "Shared Dictionary", removeWhole, "dictionaries by which sites compress their pages"},
    {kCaches, "Reporting and NEL", removeDatabase, "where sites want errors to be reported to"},
    {kCaches, "Network Persistent State", removeWhole, "which servers speak which protocols"},
    {kCaches, "Cache", removeWhole, "pages and pictures"},
    {kCaches, "Code Cache", removeWhole, "compiled scripts"},
    {kCaches, "Media Cache", removeWhole, "sound and video"},
    {kCaches, "GPUCache", removeWhole, "programs for the graphics processor"},
    {kCaches, "DawnCache", removeWhole, "the same, of newer versions"},
    {kCaches, "DawnGraphiteCache", removeWhole, "the same"},
    {kCaches, "DawnWebGPUCache", removeWhole, "the same"},
    {kCaches, "GPUPersistentCache", removeWhole, "the same"},
    {kCaches, "ShaderCache", removeWhole, "the same, in a profile of its own"},
    {kCaches, "GrShaderCache", removeWhole, "the same"},
    {kCaches, "GraphiteDawnCache", removeWhole, "the same"},
};

constexpr Store kChromeData[] = {
    {kSiteStorage, "segmentation_platform", removeWhole, "what was derived from the use of sites"},
    {kSiteStorage, ".org.chromium.Chromium.*", removeBeginningSo, "files that the browser was about to put in place"},
    {kSiteStorage, ".com.google.Chrome.*", removeBeginningSo, "the same"},
    {kSiteStorage, "Crash Reports", removeWhole, "memory of a browser that crashed, with the pages in it"},
    {kCaches, "ShaderCache", removeWhole, "programs for the graphics processor"},
    {kCaches, "GrShaderCache", removeWhole, "the same"},
    {kCaches, "GraphiteDawnCache", removeWhole, "the same"},
    {kCaches, "GPUPersistentCache", removeWhole, "the same"},
};

// Seen in Firefox ESR 153.
constexpr Store kFirefoxProfile[] = {
    {kCookies, "cookies.sqlite", removeDatabase, "cookies"},
    {kCookies, "sessionstore.jsonlz4", cleanSessionStore, "cookies and storage of the open tabs"},
    {kCookies, "sessionstore-backups", cleanSessionStores, "the same, as it was a while ago"},
    {kCookies, "bounce-tracking-protection.sqlite", removeDatabase, "sites that a visit was led through"},
    {kCookies, "content-prefs.sqlite", cleanContentPreferences, "zoom and other preferences by site"},
    {kCookies, "enumerate_devices.txt", removeWhole, "what makes the names of cameras and microphones a site's own"},

    {kSiteStorage, "storage/default", removeFirefoxSites, "databases, caches and local storage of sites"},
    {kSiteStorage, "storage/temporary", removeFirefoxSites, "what sites asked to be kept only for a while"},
    {kSiteStorage, "storage/to-be-removed", removeEntries, "what the browser was about to remove"},
    {kSiteStorage, "storage/private", removeEntries, "storage of private windows"},
    {kSiteStorage, "storage.sqlite", cleanStorageIndex, "which sites have storage"},
    {kSiteStorage, "storage/ls-archive.sqlite", cleanStorageArchive, "local storage as earlier versions kept it"},
    {kSiteStorage, "serviceworker.txt", removeWhole, "which sites have service workers"},
    {kSiteStorage, "crashes/events", removeEntries, "on which page the browser crashed"},
    {kSiteStorage, "minidumps", removeEntries, "memory of a browser that crashed, with the pages in it"},

    {kCaches, "SiteSecurityServiceState.bin", removeWhole, "sites that demand secure connections"},
    {kCaches, "AlternateServices.bin", removeWhole, "other servers at which sites can be reached"},
    {kCaches, "AlternateServices.txt", removeWhole, "the same, of earlier versions"},
};

constexpr Store kFirefoxData[] = {
    {kSiteStorage, "Crash Reports/pending", removeEntries, "memory of a browser that crashed, with the pages in it"},
};

constexpr Store kFirefoxCaches[] = {
    {kCaches, "cache2", removeWhole, "pages and pictures"},
    {kCaches, "startupCache", removeWhole, "what the browser had compiled"},
    {kCaches, "thumbnails", removeWhole, "pictures of pages"},
};

}  // namespace

std::span<const Store> chromeProfileStores() {
  return kChromeProfile;
}

std::span<const Store> chromeDataStores() {
  return kChromeData;
}

std::span<const Store> firefoxProfileStores() {
  return kFirefoxProfile;
}

std::span<const Store> firefoxDataStores() {
  return kFirefoxData;
}

std::span<const Store> firefoxCacheStores() {
  return kFirefoxCaches;
}

}  // namespace tidewell
