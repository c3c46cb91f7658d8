// The stores of Chromium and its relatives. As of Chromium 156, with the stores of earlier versions that profiles may
// still have.

#include "Worker/stores/SparingTreatments.h"
#include "Worker/stores/StoreTables.h"
#include "Worker/stores/Treatments.h"

namespace tidewell {
namespace {

using namespace treatments;  // NOLINT: names of the tables below, and of nothing else

using enum StoreAge;
using enum StoreGroup;

constexpr Store kProfile[] = {
    {kOld, kCookies, "Origin Bound Certs", deleteChannelIDs, "keys by which servers know a browser again"},
    {kReplaced, kCookies, "Cookies", sparing<removeWhole, removeOtherChromeCookies>, "cookies"},
    {kOld, kSiteStorage, "databases", sparing<cleanWebDatabases, removeOtherWebDatabases>,
     "databases of sites, of earlier versions"},
    {kOld, kSiteStorage, "Local Storage", sparing<removeLocalStorageFiles, removeOtherLocalStorageFiles>,
     "local storage, of earlier versions"},
    {kReplaced, kSiteStorage, "IndexedDB", sparing<removeWhole, removeOtherChromeSites>, "databases of sites"},
    {kOld, kCaches, "Application Cache", removeWhole, "pages that sites wanted to be kept"},
    {kReplaced, kCaches, "GPUCache", removeWhole, "programs for the graphics processor"},
    {kOld, kCaches, "TransportSecurity", removeWhole, "sites that demand secure connections"},

    {kCurrent, kCookies, "Cookies", sparing<removeDatabase, removeOtherChromeCookies>, "cookies"},
    {kCurrent, kCookies, "Network/Cookies", sparing<removeDatabase, removeOtherChromeCookies>,
     "cookies, where newer versions keep them"},
    {kCurrent, kCookies, "Safe Browsing Cookies", removeDatabase,
     "cookies of the service that warns of dangerous sites"},
    {kCurrent, kCookies, "Trust Tokens", removeDatabase, "tokens by which sites vouch for a visitor to each other"},
    {kCurrent, kCookies, "Network/Trust Tokens", removeDatabase, "the same tokens, where newer versions keep them"},
    {kCurrent, kCookies, "MediaDeviceSalts", removeDatabase,
     "what makes the names of cameras and microphones a site's own"},
    {kCurrent, kCookies, "DIPS", sparing<removeDatabase, removeOtherChromeBounces>,
     "sites that a visit was led through"},
    {kCurrent, kCookies, "Preferences", cleanPreferences, "permissions, client hints and zoom by site"},

    {kCurrent, kCookies, "Device Bound Sessions", sparing<removeDatabase, removeOtherBoundSessions>,
     "keys by which servers know this machine again"},
    {kCurrent, kCookies, "Network/Device Bound Sessions", sparing<removeDatabase, removeOtherBoundSessions>,
     "the same keys, where newer versions keep them"},
    {kCurrent, kCookies, "Sessions", cleanTabFiles, "what pages have stored with the open tabs"},
    {kCurrent, kCookies, "Sessions_Encrypted", removeEncryptedTabFiles, "the same, encrypted"},
    {kCurrent, kCookies, "Current Session", cleanOpenTabs, "the same, of earlier versions"},
    {kCurrent, kCookies, "Last Session", cleanOpenTabs, "the same"},
    {kCurrent, kCookies, "Current Tabs", cleanClosedTabs, "the same, of tabs that were closed"},
    {kCurrent, kCookies, "Last Tabs", cleanClosedTabs, "the same"},

    {kCurrent, kSiteStorage, "Local Storage/leveldb", sparing<cleanLocalStorage, cleanOtherLocalStorage>,
     "local storage"},
    {kCurrent, kSiteStorage, "Session Storage", removeWhole, "storage of single tabs"},
    {kCurrent, kSiteStorage, "IndexedDB", sparing<removeChromeSites, removeOtherChromeSites>, "databases of sites"},
    {kCurrent, kSiteStorage, "Service Worker/Database", removeWhole, "which sites have service workers"},
    {kCurrent, kSiteStorage, "Service Worker/ScriptCache", removeWhole, "the scripts of service workers"},
    {kCurrent, kSiteStorage, "Service Worker/CacheStorage", sparing<cleanCacheStorage, cleanOtherCacheStorage>,
     "caches that scripts of sites fill"},
    {kCurrent, kSiteStorage, "File System", sparing<cleanFileSystem, cleanOtherFileSystem>,
     "files in the sites' own file systems"},
    {kCurrent, kSiteStorage, "WebStorage", sparing<cleanWebStorage, cleanOtherWebStorage>,
     "storage buckets, and whose they are"},
    {kCurrent, kSiteStorage, "SharedStorage", removeDatabase, "storage that sites share between them"},
    {kCurrent, kSiteStorage, "InterestGroups", removeDatabase, "interests that advertisers have noted"},
    {kCurrent, kSiteStorage, "PrivateAggregation", removeDatabase, "reports to advertisers that wait to be sent"},
    {kCurrent, kSiteStorage, "AggregationService", removeDatabase, "the same, of other kinds"},
    {kCurrent, kSiteStorage, "Conversions", removeDatabase, "which advertisement led to which purchase"},
    {kCurrent, kSiteStorage, "BrowsingTopicsState", removeWhole, "topics that were derived from the sites visited"},
    {kCurrent, kSiteStorage, "BrowsingTopicsSiteData", removeDatabase, "which sites asked for these topics"},
    {kCurrent, kSiteStorage, "Platform Notifications", removeWhole, "notifications of sites"},
    {kCurrent, kSiteStorage, "GCM Store/Encryption", cleanPushKeys, "keys of the push messages to sites"},
    {kCurrent, kSiteStorage, "GCM Store", cleanPushRegistrations, "which sites get push messages"},
    {kCurrent, kSiteStorage, "Site Characteristics Database", removeWhole, "how sites behave in the background"},
    {kCurrent, kSiteStorage, "PersistentOriginTrials", removeWhole, "sites that try out new functions"},
    {kCurrent, kSiteStorage, "BudgetDatabase", removeWhole, "how much sites may do in the background"},
    {kCurrent, kSiteStorage, "CdmStorage.db", removeDatabase, "licences and identifiers of protected media"},
    {kCurrent, kSiteStorage, "declarative_performance_observer.db", removeDatabase, "how fast pages of sites were"},
    {kCurrent, kSiteStorage, "heavy_ad_intervention_opt_out.db", removeDatabase, "sites with greedy advertisements"},
    {kCurrent, kSiteStorage, "chrome_cart_db", removeWhole, "what lies in the baskets of shops"},
    {kCurrent, kSiteStorage, "discounts_db", removeWhole, "discounts on pages of shops"},
    {kCurrent, kSiteStorage, "discount_infos_db", removeWhole, "the same, of newer versions"},
    {kCurrent, kSiteStorage, "coupon_db", removeWhole, "the same, of earlier versions"},
    {kCurrent, kSiteStorage, "Network Action Predictor", cleanPredictions, "what pages of sites load"},
    {kCurrent, kSiteStorage, "Web Data", cleanPaymentManifests, "ways to pay that sites offer"},
    {kCurrent, kSiteStorage, "optimization_guide_hint_cache_store", removeWhole, "hints for loading pages of sites"},
    {kCurrent, kSiteStorage, "SCT Auditing Pending Reports", removeWhole, "certificates of sites, to be reported"},
    {kCurrent, kSiteStorage, "WebRTC Logs", removeWhole, "calls in pages"},
    {kCurrent, kSiteStorage, "webrtc_event_logs", removeWhole, "the same"},
    {kCurrent, kSiteStorage, ".org.chromium.Chromium.*", removeBeginningSo,
     "files that the browser was about to put in place"},
    {kCurrent, kSiteStorage, ".com.google.Chrome.*", removeBeginningSo, "the same"},
    {kCurrent, kSiteStorage, "blob_storage", removeWhole, "data of sites that did not fit in memory"},

    {kCurrent, kCaches, "Shared Dictionary", removeWhole, "dictionaries by which sites compress their pages"},
    {kCurrent, kCaches, "Reporting and NEL", removeDatabase, "where sites want errors to be reported to"},
    {kCurrent, kCaches, "Network Persistent State", removeWhole, "which servers speak which protocols"},
    {kCurrent, kCaches, "Network/Reporting and NEL", removeDatabase,
     "the same endpoints, where newer versions keep them"},
    {kCurrent, kCaches, "Network/Network Persistent State", removeWhole, "the same servers"},
    {kCurrent, kCaches, "Network/TransportSecurity", removeWhole, "sites that demand secure connections"},
    {kCurrent, kCaches, "Network/SCT Auditing Pending Reports", removeWhole, "certificates of sites, to be reported"},
    {kCurrent, kCaches, "Cache", removeWhole, "pages and pictures"},
    {kCurrent, kCaches, "Code Cache", removeWhole, "compiled scripts"},
    {kCurrent, kCaches, "Media Cache", removeWhole, "sound and video"},
    {kCurrent, kCaches, "GPUCache", removeWhole, "programs for the graphics processor"},
    {kCurrent, kCaches, "DawnCache", removeWhole, "the same, of newer versions"},
    {kCurrent, kCaches, "DawnGraphiteCache", removeWhole, "the same"},
    {kCurrent, kCaches, "DawnWebGPUCache", removeWhole, "the same"},
    {kCurrent, kCaches, "GPUPersistentCache", removeWhole, "the same"},
    {kCurrent, kCaches, "ShaderCache", removeWhole, "the same, in a profile of its own"},
    {kCurrent, kCaches, "GrShaderCache", removeWhole, "the same"},
    {kCurrent, kCaches, "GraphiteDawnCache", removeWhole, "the same"},
};

constexpr Store kData[] = {
    {kCurrent, kSiteStorage, "segmentation_platform", removeWhole, "what was derived from the use of sites"},
    {kCurrent, kSiteStorage, ".org.chromium.Chromium.*", removeBeginningSo,
     "files that the browser was about to put in place"},
    {kCurrent, kSiteStorage, ".com.google.Chrome.*", removeBeginningSo, "the same"},
    {kCurrent, kSiteStorage, "Crash Reports", removeWhole, "memory of a browser that crashed, with the pages in it"},
    {kCurrent, kCaches, "ShaderCache", removeWhole, "programs for the graphics processor"},
    {kCurrent, kCaches, "GrShaderCache", removeWhole, "the same"},
    {kCurrent, kCaches, "GraphiteDawnCache", removeWhole, "the same"},
    {kCurrent, kCaches, "GPUPersistentCache", removeWhole, "the same"},
};

constexpr Store kProfileCaches[] = {
    // The folder itself may be all that was granted there.
    {kOld, kCaches, "", removeContents, "pages, pictures and compiled scripts"},
};

constexpr Store kOwnFlash[] = {
    {kOld, kSiteStorage, "Pepper Data", removeWhole, "data of the Flash plug-in that the browser carried"},
};

}  // namespace

const StoreTables kChromiumStores{kProfile, kData, kProfileCaches, kOwnFlash};

}  // namespace tidewell
