// The profiles of Firefox.

#include "tests/support/LinuxSampleHome.h"
#include "tests/support/SampleWriter.h"

namespace testing_support {
namespace {

using enum Owner;

const std::string kSiteOrigin = std::string("https://") + kVisitedSite;
const std::string kSiteFolder = std::string("https+++") + kVisitedSite;
const std::string kExtensionFolder = "moz-extension+++0d4f7ba1-65d4-4a2c-8e2e-d3dcd5bb7e0c^userContextId=4294967295";

std::string session(const SampleWriter& writer) {
  return R"({"version":["sessionrestore",1],"windows":[{"tabs":[{"entries":[{"url":"https://open-tab.example/","title":"A tab"}])" +
         writer.textOf(kSiteInCurrentStore, R"(,"storage":{")" + kSiteOrigin + R"(":{"key":"mark"}})") +
         R"(}],"selected":1}],"cookies":[)" +
         writer.textOf(kSiteInCurrentStore,
                       R"({"host":")" + std::string(kVisitedSite) + R"(","name":"n","value":"mark"})") +
         "]}";
}

void writeSession(const SampleWriter& writer, const std::string& profile) {
  const std::string file = packedSession(session(writer));
  writer.file(kPerson, profile + "sessionstore.jsonlz4", file);
  for (const char* name : {"recovery.jsonlz4", "recovery.baklz4", "previous.jsonlz4", "upgrade.jsonlz4-20260101"}) {
    writer.file(kPerson, profile + "sessionstore-backups/" + name, file);
  }
  // Removed, because a file that can't be read could hold anything.
  writer.file(kSiteInCurrentStore, profile + "sessionstore-backups/broken.jsonlz4", file.substr(0, file.size() / 2));
}

void writeDatabases(const SampleWriter& writer, const std::string& profile) {
  writer.statements(
      kPerson, profile + "webappsstore.sqlite",
      "CREATE TABLE webappsstore2 (scope TEXT, key TEXT); INSERT INTO webappsstore2 VALUES ('notes-extension', "
      "'kept');" +
          writer.textOf(kSite, "INSERT INTO webappsstore2 VALUES ('elpmaxe.detisiv.:https:443', 'visited.example');"));
  writer.statements(
      kPerson, profile + "storage/ls-archive.sqlite",
      "CREATE TABLE webappsstore2 (scope TEXT, key TEXT); INSERT INTO webappsstore2 VALUES ('notes-extension', "
      "'kept');" +
          writer.textOf(kSiteInCurrentStore,
                        "INSERT INTO webappsstore2 VALUES ('elpmaxe.detisiv.:https:443', 'visited.example');"));
  writer.statements(kPerson, profile + "storage.sqlite",
                    "CREATE TABLE database (cache_version INTEGER); INSERT INTO database VALUES (1);"
                    "CREATE TABLE origin (repository_id INTEGER, origin TEXT, PRIMARY KEY (repository_id, origin));"
                    "INSERT INTO origin VALUES (2, 'moz-extension://0d4f7ba1-65d4-4a2c-8e2e-d3dcd5bb7e0c');" +
                        writer.textOf(kSiteInCurrentStore, "INSERT INTO origin VALUES (1, '" + kSiteOrigin +
                                                               "'), (2, '" + kSiteOrigin + "');"));
  writer.statements(
      kPerson, profile + "content-prefs.sqlite",
      "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT); CREATE TABLE settings (id INTEGER "
      "PRIMARY KEY, name TEXT);"
      "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER, settingID INTEGER, value);"
      "INSERT INTO settings VALUES (1, 'browser.content.full-zoom');"
      "INSERT INTO prefs VALUES (9, NULL, 1, 1.25);" +
          writer.textOf(kSiteInCurrentStore, "INSERT INTO groups VALUES (1, '" + std::string(kVisitedSite) +
                                                 "');"
                                                 "INSERT INTO prefs VALUES (1, 1, 1, 2.0);"));
}

/// The browser's own database of push subscriptions: one of a site, one of the account.
void writePushSubscriptions(const SampleWriter& writer, const std::string& profile) {
  const auto subscription = [](const std::string& key, const std::string& scopePlusOne) {
    const std::string blob = "x'" + key + "'";
    const auto identifiers = "x'80' || CAST('" + scopePlusOne + "' AS BLOB)";
    return "INSERT INTO object_data VALUES (1, " + blob + ", NULL, NULL, " + blob + ");" +
           "INSERT INTO unique_index_data VALUES (1, CAST('iuuqt;00qvti' || " + blob + " AS BLOB), 1, " + blob + ");" +
           "INSERT INTO unique_index_data VALUES (2, CAST(" + identifiers + " AS BLOB), 1, " + blob + ");" +
           "INSERT INTO index_data VALUES (4, x'10', " + blob + ", 1);";
  };
  writer.statements(
      kPerson, profile + "storage/permanent/chrome/idb/2918063365piupsah.sqlite",
      "CREATE TABLE object_store_index (id INTEGER PRIMARY KEY, name TEXT);"
      "CREATE TABLE object_data (object_store_id INTEGER, key BLOB, index_data_values BLOB, file_ids TEXT, data BLOB,"
      " PRIMARY KEY (object_store_id, key)) WITHOUT ROWID;"
      "CREATE TABLE index_data (index_id INTEGER, value BLOB, object_data_key BLOB, object_store_id INTEGER,"
      " PRIMARY KEY (index_id, value, object_data_key)) WITHOUT ROWID;"
      "CREATE TABLE unique_index_data (index_id INTEGER, value BLOB, object_store_id INTEGER, object_data_key BLOB,"
      " PRIMARY KEY (index_id, value)) WITHOUT ROWID;"
      "CREATE TRIGGER object_data_delete_trigger AFTER DELETE ON object_data FOR EACH ROW WHEN OLD.file_ids IS NOT NULL"
      " BEGIN SELECT update_refcount(OLD.file_ids, NULL); END;"
      "INSERT INTO object_store_index VALUES (1, 'pushEndpoint'), (2, 'identifiers'), (4, 'quota');" +
          subscription("3051", "disnf;00gyb.efwjdf.vqebuf") +
          writer.textOf(kSiteInCurrentStore, subscription("3052", "iuuqt;00wjtjufe/fybnqmf0")));
}

void writePersonsFiles(const SampleWriter& writer, const std::string& profile) {
  writer.databaseWithLog(kPerson, profile + "places.sqlite");
  writer.files(kPerson, profile,
               {"favicons.sqlite",
                "favicons.sqlite-wal",
                "logins.json",
                "key4.db",
                "cert9.db",
                "formhistory.sqlite",
                "prefs.js",
                "user.js",
                "times.json",
                "handlers.json",
                "containers.json",
                "extensions.json",
                "extension-preferences.json",
                "sessionCheckpoints.json",
                "search.json.mozlz4",
                "bookmarkbackups/bookmarks-2026-01-01_1.jsonlz4",
                "extensions/notes@example.xpi",
                "browser-extension-data/notes@example/storage.js",
                "storage-sync-v2.sqlite",
                "storage-sync-v2.sqlite-wal",
                "storage/permanent/chrome/idb/1.sqlite",
                "gmp/Linux_x86_64-gcc3/gmp-widevinecdm/version",
                "gmp-widevinecdm/4.10/libwidevinecdm.so",
                "storage/permanent/chrome/.metadata-v2"});
}

}  // namespace

void writeFirefoxPermissions(const SampleWriter& writer, const std::string& profile) {
  // The person's own rule on cookies names a site, too.
  const auto row = [](const std::string& origin, const std::string& type) {
    return "INSERT INTO moz_perms (origin, type, permission) VALUES ('" + origin + "', '" + type + "', 1);";
  };
  writer.statements(
      kPerson, profile + "permissions.sqlite",
      "CREATE TABLE moz_perms (id INTEGER PRIMARY KEY, origin TEXT, type TEXT, permission INTEGER);"
      "CREATE TABLE moz_origin_interactions (origin TEXT PRIMARY KEY, lastInteractionTime INTEGER);" +
          row("https://trusted.example", "cookie") +
          row("moz-extension://0d4f7ba1-65d4-4a2c-8e2e-d3dcd5bb7e0c", "persistent-storage") +
          writer.textOf(kSite, row(kSiteOrigin, "geo") + row(kSiteOrigin, "desktop-notification") +
                                   "INSERT INTO moz_origin_interactions VALUES ('" + kSiteOrigin + "', 1);"));
}

void writeFirefoxProfile(const SampleWriter& writer, const std::string& profile, const std::string& caches) {
  writer.files(kSite, profile, {"cookies.sqlite", "SiteSecurityServiceState.txt"});
  writer.files(
      kSiteInCurrentStore, profile,
      {"cookies.sqlite-wal", "cookies.sqlite-shm", "bounce-tracking-protection.sqlite",
       "bounce-tracking-protection.sqlite-wal", "serviceworker.txt", "SiteSecurityServiceState.bin",
       "AlternateServices.bin", "cookies.sqlite.bak", "cookies.sqlite.bak-rebuild", "credentialstate.sqlite",
       "notificationstore.json", "ClientAuthRememberList.bin", "ssl_tokens_cache.bin", "SiteIntegrityServiceState.bin",
       "gmp/Linux_x86_64-gcc3/gmp-widevinecdm/id/5a/origin", "gmp/Linux_x86_64-gcc3/gmp-widevinecdm/storage/5a/key",
       "storage/to-be-removed/1/" + kSiteFolder + "/x", "storage/private/5a/idb/1.sqlite"});
  writer.files(
      kSite, profile,
      {"storage/default/" + kSiteFolder + "/ls/data.sqlite", "storage/default/" + kSiteFolder + "/.metadata-v2",
       "storage/default/" + kSiteFolder + "^partitionKey=%28https%2Cother.example%29/idb/1.sqlite",
       "storage/temporary/" + kSiteFolder + "/cache/caches.sqlite"});
  writer.files(
      kExtensionInOldStore, profile,
      {"storage/default/" + kExtensionFolder + "/idb/1.sqlite", "storage/default/" + kExtensionFolder + "/.metadata-v2",
       "storage/temporary/" + kExtensionFolder + "/idb/1.sqlite"});
  writeSession(writer, profile);
  writeDatabases(writer, profile);
  writePushSubscriptions(writer, profile);
  writePersonsFiles(writer, profile);
  writer.files(kSite, caches, {"Cache/_CACHE_MAP_", "OfflineCache/index.sqlite", "startupCache/startupCache.8.little"});
  writer.files(kSiteInCurrentStore, caches, {"cache2/entries/1A", "cache2/index", "thumbnails/1.png"});
  writer.files(kPerson, caches, {"safebrowsing/ads-track-digest256.sbstore", "settings/main/ms-language-packs/x"});
}

}  // namespace testing_support
