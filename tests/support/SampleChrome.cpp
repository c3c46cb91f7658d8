// The profiles of the Chrome family.

#include "Worker/formats/Pickle.h"
#include "Worker/formats/SessionCommands.h"
#include "tests/support/LinuxSampleHome.h"
#include "tests/support/SampleWriter.h"

namespace testing_support {
namespace {

using enum Owner;
using Texts = std::vector<std::string>;

const std::string kSiteOrigin = std::string("https://") + kVisitedSite;
const std::string kExtensionOrigin = std::string("chrome-extension://") + kSampleExtension;
const std::string kSiteFolder = std::string("https_") + kVisitedSite + "_0";
const std::string kExtensionFolder = std::string("chrome-extension_") + kSampleExtension + "_0";

Texts withCompanions(const Texts& databases) {
  Texts files;
  for (const std::string& database : databases) {
    for (const char* companion : {"", "-journal", "-wal", "-shm"}) files.push_back(database + companion);
  }
  return files;
}

void writeOldStores(const SampleWriter& writer, const std::string& profile, bool hasFlashOfItsOwn) {
  writer.files(kSite, profile,
               {"Application Cache/Index", "GPUCache/data_1", "TransportSecurity",
                "Local Storage/" + kSiteFolder + ".localstorage",
                "Local Storage/" + kSiteFolder + ".localstorage-journal", "databases/" + kSiteFolder + "/1"});
  writer.files(kPerson, profile,
               {"Local Storage/" + kExtensionFolder + ".localstorage", "databases/" + kExtensionFolder + "/1"});
  writer.files(hasFlashOfItsOwn ? kSite : kPerson, profile, {"Pepper Data/Shockwave Flash/WritableRoot/a.sol"});
  writer.statements(kPerson, profile + "databases/Databases.db",
                    "CREATE TABLE Databases (id INTEGER PRIMARY KEY, origin TEXT);"
                    "INSERT INTO Databases VALUES (9, '" +
                        kExtensionFolder + "');" +
                        writer.textOf(kSite, "INSERT INTO Databases VALUES (1, '" + kSiteFolder + "');"));
  writer.statements(kPerson, profile + "Origin Bound Certs",
                    "CREATE TABLE origin_bound_certs (origin TEXT); CREATE TABLE meta (key TEXT);"
                    "INSERT INTO meta VALUES ('version');" +
                        writer.textOf(kSite, "INSERT INTO origin_bound_certs VALUES ('" + kSiteOrigin + "');"));
}

void writeCookies(const SampleWriter& writer, const std::string& profile) {
  writer.files(kSite, profile, {"Cookies"});
  writer.files(kSiteInCurrentStore, profile, {"Cookies-journal", "Cookies-wal", "Cookies-shm"});
  writer.databaseWithLog(kSiteInCurrentStore, profile + "Network/Cookies");
  writer.files(kSiteInCurrentStore, profile,
               withCompanions({"Trust Tokens", "MediaDeviceSalts", "DIPS", "SharedStorage", "InterestGroups",
                               "PrivateAggregation", "Conversions", "Reporting and NEL", "AggregationService",
                               "Device Bound Sessions", "Network/Trust Tokens", "Network/Reporting and NEL",
                               "Network/Device Bound Sessions", "CdmStorage.db", "declarative_performance_observer.db",
                               "heavy_ad_intervention_opt_out.db"}));
  writer.files(kSiteInCurrentStore, profile,
               {"Network/Network Persistent State", "Network/TransportSecurity", "Network/SCT Auditing Pending Reports",
                "chrome_cart_db/CURRENT", "discounts_db/CURRENT", "discount_infos_db/CURRENT", "coupon_db/CURRENT",
                "SCT Auditing Pending Reports", "WebRTC Logs/1.gz", "webrtc_event_logs/1.log",
                "optimization_guide_hint_cache_store/CURRENT"});
  writer.file(
      kPerson, profile + "Preferences",
      R"({"bookmark_bar":{"show_on_all_tabs":true},"partition":{"per_host_zoom_levels":{"x":{)" +
          writer.textOf(kSiteInCurrentStore, "\"" + std::string(kVisitedSite) + R"(":{"zoom_level":1.5})") +
          R"(}}},"profile":{"content_settings":{"exceptions":{"client_hints":{)" +
          writer.textOf(kSiteInCurrentStore, "\"" + kSiteOrigin + R"(:443,*":{"setting":{"client_hints":[1]}})") +
          R"(},"notifications":{)" +
          writer.textOf(kSiteInCurrentStore, "\"" + kSiteOrigin + R"(:443,*":{"setting":1},)") + "\"" +
          kExtensionOrigin + R"(/,*":{"setting":1}}}},"name":"Ann"}})");
}

void writeLocalStorage(const SampleWriter& writer, const std::string& profile) {
  using namespace std::string_literals;
  LevelEntries entries = {{"VERSION", "1"},
                          {"META:" + kExtensionOrigin, "size"},
                          {"METAACCESS:" + kExtensionOrigin, "time"},
                          {"_" + kExtensionOrigin + "\0\1kept"s, "\1an extension's"}};
  if (writer.has(kSiteInCurrentStore)) {
    entries.insert({{"META:" + kSiteOrigin, "size"},
                    {"METAACCESS:" + kSiteOrigin, "time"},
                    {"_" + kSiteOrigin + "\0\1key"s, "\1mark"},
                    // The site in a frame, in another site's page and in an extension's.
                    {"_" + kSiteOrigin + "/^0https://other.example\0\1key"s, "\1mark"},
                    {"_" + kSiteOrigin + "/^0" + kExtensionOrigin + "\0\1key"s, "\1mark"},
                    {"META:" + kSiteOrigin + "/^0" + kExtensionOrigin, "size"}});
  }
  writer.level(kPerson, profile + "Local Storage/leveldb", entries);
}

void writeSiteStorage(const SampleWriter& writer, const std::string& profile) {
  writer.level(kSite, profile + "IndexedDB/" + kSiteFolder + ".indexeddb.leveldb", {{kVisitedSite, "mark"}});
  writer.files(kSite, profile, {"IndexedDB/" + kSiteFolder + ".indexeddb.blob/1/00/1"});
  writer.level(kExtensionInOldStore, profile + "IndexedDB/" + kExtensionFolder + ".indexeddb.leveldb", {{"k", "v"}});
  writer.files(kExtensionInOldStore, profile, {"IndexedDB/" + kExtensionFolder + ".indexeddb.blob/1/00/1"});
  writer.level(kSiteInCurrentStore, profile + "Session Storage", {{"namespace-1-" + kSiteOrigin + "/", "1"}});

  const std::string workers = profile + "Service Worker/";
  writer.level(kSiteInCurrentStore, workers + "Database", {{"INITDATA_UNIQUE_ORIGIN:" + kSiteOrigin + "/", ""}});
  writer.files(kSiteInCurrentStore, workers, {"ScriptCache/index", "ScriptCache/2cc80dabc69f58b6_0"});
  writer.file(kSiteInCurrentStore, workers + "CacheStorage/5f1d/index.txt", cacheStorageIndexOf(kSiteOrigin + "/"));
  writer.files(kSiteInCurrentStore, workers, {"CacheStorage/5f1d/6b2e/index-dir/the-real-index"});
  writer.file(kPerson, workers + "CacheStorage/a002/index.txt", cacheStorageIndexOf(kExtensionOrigin + "/"));
  writer.files(kPerson, workers, {"CacheStorage/a002/77aa/index-dir/the-real-index"});

  LevelEntries origins = {{"LAST_PATH", "1"}, {"ORIGIN:" + kExtensionFolder, "001"}};
  if (writer.has(kSiteInCurrentStore)) origins["ORIGIN:" + kSiteFolder] = "000";
  writer.level(kPerson, profile + "File System/Origins", origins);
  writer.level(kSiteInCurrentStore, profile + "File System/000/t/Paths", {{kVisitedSite, "mark"}});
  writer.files(kSiteInCurrentStore, profile, {"File System/000/t/00/00000000"});
  writer.level(kPerson, profile + "File System/001/p/Paths", {{"k", "v"}});
  writer.files(kPerson, profile, {"File System/001/p/00/00000000"});

  writer.statements(
      kPerson, profile + "WebStorage/QuotaManager",
      "CREATE TABLE buckets (id INTEGER PRIMARY KEY AUTOINCREMENT, storage_key TEXT NOT NULL, host TEXT NOT NULL);"
      "CREATE TABLE meta (key TEXT, value TEXT); INSERT INTO meta VALUES ('version', '10');"
      "INSERT INTO buckets VALUES (9, '" +
          kExtensionOrigin + "/', '" + kSampleExtension + "');" +
          writer.textOf(kSiteInCurrentStore, "INSERT INTO buckets VALUES (1, '" + kSiteOrigin + "/', '" + kVisitedSite +
                                                 "');"
                                                 "INSERT INTO buckets VALUES (2, '" +
                                                 kSiteOrigin + "/^0" + kExtensionOrigin + "', '" + kVisitedSite +
                                                 "');"));
  writer.files(kSiteInCurrentStore, profile + "WebStorage/", {"1/IndexedDB/LOG", "2/CacheStorage/index.txt"});
  writer.files(kPerson, profile + "WebStorage/", {"9/IndexedDB/LOG"});
}

/// A file with one tab, whose page has stored the visited site's name.
std::string tabFile(tidewell::TabFile kind) {
  constexpr char kTitle[] = "T\0";
  tidewell::PickleWriter page;
  page.number(1);
  page.number(0);
  page.text("https://open.example/");
  page.wideText({kTitle, 2});
  page.text(kVisitedSite);
  page.number(0);
  const std::string pickle = page.pickle();
  std::string file("SNSS\3\0\0\0", 8);
  tidewell::appendFixedNumber(file, pickle.size() + 1, 2);
  return file + (kind == tidewell::TabFile::kOpen ? '\6' : '\1') + pickle;
}

void writeTabs(const SampleWriter& writer, const std::string& profile) {
  using tidewell::TabFile;
  const auto write = [&](const std::string& path, TabFile kind) {
    const std::string file = tabFile(kind);
    const bool isClean = !writer.has(kSiteInCurrentStore);
    writer.file(kPerson, profile + path, isClean ? tidewell::withoutPageStates(file, kind).contents : file);
  };
  for (const char* name :
       {"Sessions/Session_13390000000000000", "Sessions/Apps_13390000000000000", "Current Session", "Last Session"}) {
    write(name, TabFile::kOpen);
  }
  for (const char* name : {"Sessions/Tabs_13390000000000000", "Current Tabs", "Last Tabs"}) {
    write(name, TabFile::kClosed);
  }
  writer.files(kPerson, profile, {"Sessions/notes"});
  writer.files(kSiteInCurrentStore, profile,
               {"Sessions/Session_damaged", "Sessions_Encrypted/Session_13390000000000300",
                "Sessions_Encrypted/Tabs_13390000000000300"});
}

void writeTablesOfSites(const SampleWriter& writer, const std::string& profile) {
  writer.statements(
      kPerson, profile + "Web Data",
      "CREATE TABLE autofill (name TEXT); INSERT INTO autofill VALUES ('Ann');"
      "CREATE TABLE payment_method_manifest (method TEXT); CREATE TABLE web_app_manifest_section (id TEXT);" +
          writer.textOf(kSiteInCurrentStore, "INSERT INTO payment_method_manifest VALUES ('" + kSiteOrigin +
                                                 "'); INSERT INTO web_app_manifest_section VALUES ('" + kSiteOrigin +
                                                 "');"));
  writer.statements(
      kPerson, profile + "Network Action Predictor",
      "CREATE TABLE network_action_predictor (user_text TEXT); INSERT INTO network_action_predictor VALUES ('typed');"
      "CREATE TABLE resource_prefetch_predictor_origin (key TEXT);"
      "CREATE TABLE lcp_critical_path_predictor (key TEXT);" +
          writer.textOf(kSiteInCurrentStore, "INSERT INTO resource_prefetch_predictor_origin VALUES ('" + kSiteOrigin +
                                                 "'); INSERT INTO lcp_critical_path_predictor VALUES ('" + kSiteOrigin +
                                                 "');"));
}

void writePush(const SampleWriter& writer, const std::string& profile) {
  const std::string kOfSite = "wp:" + kSiteOrigin + "/#0A3F0C4E-2B6D-4C7A-8E1F-7B9A5D3C1E2F";
  const std::string kOfBrowser = "com.google.chrome.fcm.invalidations";
  LevelEntries entries = {{"device_aid_key", "5071"},
                          {"last_checkin_time", "133"},
                          {"reg1-" + std::string(kSampleExtension), "abc:APA91bwp:x"},
                          {"reg1-iid-" + kOfBrowser + ",8181,GCM", "def:APA91b"},
                          {"iid1-" + std::string(kSampleExtension), "cde,133"},
                          {"incoming1-0:133%a", "0:133%a|134"}};
  LevelEntries keys = {{kSampleExtension, "key"}};
  if (writer.has(kSiteInCurrentStore)) {
    entries.insert({{"reg1-" + kOfSite, "abc:APA91b"},
                    {"reg1-iid-" + kOfSite + "-V2,8181,GCM", "abc:APA91b"},
                    {"iid1-" + kOfSite + "-V2", "fgh,133"},
                    {"incoming1-0:133%b", kOfSite},
                    {"outgoing1-" + kOfSite, "message"}});
    keys.insert({{kOfSite, "key of " + kSiteOrigin}, {kOfSite + "-V2,8181", "another"}});
  }
  writer.level(kPerson, profile + "GCM Store", entries);
  writer.level(kPerson, profile + "GCM Store/Encryption", keys);
}

void writeCaches(const SampleWriter& writer, const std::string& profile, const std::string& caches) {
  writer.files(caches == profile ? kSiteInCurrentStore : kSite, caches,
               {"Cache/Cache_Data/data_0", "Code Cache/js/index", "Media Cache/index"});
  writer.files(kSiteInCurrentStore, profile,
               {"Shared Dictionary/db", "Shared Dictionary/cache/index", "Network Persistent State", "DawnCache/data_0",
                "DawnGraphiteCache/data_0", "DawnWebGPUCache/data_0", "GPUPersistentCache/data_0",
                "GrShaderCache/data_0", "ShaderCache/data_0", "GraphiteDawnCache/data_0"});
}

void writePersonsFiles(const SampleWriter& writer, const std::string& profile) {
  writer.files(kPerson, profile,
               {"Bookmarks", "Bookmarks.bak", "Login Data", "Login Data For Account", "Favicons", "Favicons-journal",
                "Top Sites", "Shortcuts", "Visited Links", "Secure Preferences", "README",
                "Extensions/" + std::string(kSampleExtension) + "/1.0/manifest.json", "Cookies.txt"});
  writer.files(kPerson, profile, withCompanions({"Extension Cookies"}));
  writer.level(kPerson, profile + "Sync Data/LevelDB", {{"sessions-dt-1", "what is synchronized"}});
  writer.databaseWithLog(kPerson, profile + "History");
  for (const char* store : {"Local Extension Settings", "Sync Extension Settings", "Managed Extension Settings",
                            "Local App Settings", "Sync App Settings"}) {
    writer.level(kPerson, profile + store + "/" + kSampleExtension, {{"k", "an extension's"}});
  }
  for (const char* store : {"Extension State", "Extension Rules", "Extension Scripts"}) {
    writer.level(kPerson, profile + store, {{kSampleExtension, "an extension's"}});
  }
}

}  // namespace

void writeChromeProfile(const SampleWriter& writer, const std::string& profile, const std::string& caches,
                        bool hasFlashOfItsOwn) {
  writeOldStores(writer, profile, hasFlashOfItsOwn);
  writeCookies(writer, profile);
  writeLocalStorage(writer, profile);
  writeSiteStorage(writer, profile);
  writeTabs(writer, profile);
  writeTablesOfSites(writer, profile);
  writePush(writer, profile);
  writeCaches(writer, profile, caches);
  writePersonsFiles(writer, profile);
}

void writeChromeData(const SampleWriter& writer, const std::string& dataFolder) {
  writer.level(kSiteInCurrentStore, dataFolder + "segmentation_platform/signal_db", {{kVisitedSite, "mark"}});
  writer.files(kSiteInCurrentStore, dataFolder,
               {"segmentation_platform/ukm_db", "ShaderCache/data_0", "GrShaderCache/data_0",
                "GraphiteDawnCache/data_0", "GPUPersistentCache/data_0"});
  writer.files(kPerson, dataFolder, {"First Run", "Last Version", "Safe Browsing/UrlSoceng.store"});
}

}  // namespace testing_support
