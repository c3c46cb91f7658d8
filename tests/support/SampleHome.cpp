#include "tests/support/SampleHome.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/Databases.h"

namespace fs = std::filesystem;

namespace testing_support {
namespace {

using Texts = std::vector<std::string>;

constexpr char kLocalState[] =
    R"({"profile": {"info_cache": {"Default": {"name": "Ann"}, "P 1": {"name": "W\u00f6rk"}}}})";
constexpr char kDatabaseHeader[] = "SQLite format 3";

/// The index of web databases, with sites' origins and one of each kind of extension.
constexpr char kOrigins[] =
    "INSERT INTO Databases VALUES ('http_a.example_0', 'mail'), ('https_b.example_0', NULL), ('file__0', x'00ff'),"
    "  ('chrome-extension_notes_0', 'notes'), ('safari-extension_notes_0', 'notes');";
constexpr char kOriginsOfSafari[] =
    "INSERT INTO Origins VALUES ('http_a.example_0', 5), ('https_b.example_0', 5), ('safari-extension_notes_0', 5);";

void fill(const ScratchFolder& home, const std::string& folder, const Texts& files) {
  for (const std::string& file : files) home.file(folder + file, "content of " + folder + file + "\n");
}

void makeWebDatabases(const ScratchFolder& home, const std::string& folder) {
  runStatements(home.path(folder + "Databases.db"),
                std::string("CREATE TABLE Databases (origin TEXT, name TEXT); CREATE TABLE Origins (origin TEXT, quota "
                            "INTEGER);") +
                    kOrigins + kOriginsOfSafari);
  fill(home, folder,
       {"http_a.example_0/1", "https_b.example_0/1", "https_b.example_0/2", "file__0/1", "chrome-extension_notes_0/1",
        "safari-extension_notes_0/1", "http_not-in-the-index.example_0/1"});
}

void makeLocalStorage(const ScratchFolder& home, const std::string& folder) {
  fill(home, folder,
       {"http_a.example_0.localstorage", "http_a.example_0.localstorage-journal", "https_b.example_0.localstorage",
        "chrome-extension_notes_0.localstorage", "chrome-extension_notes_0.localstorage-journal",
        "safari-extension_notes_0.localstorage", "leveldb/000003.log"});
}

void fillSafari(const ScratchFolder& home) {
  const std::string safari = kSafari;
  makeWebDatabases(home, safari + "Databases/");
  makeLocalStorage(home, safari + "LocalStorage/");
  runStatements(home.path(safari + "LocalStorage/StorageTracker.db"),
                std::string("CREATE TABLE Origins (origin TEXT, quota INTEGER);") + kOriginsOfSafari);
  fill(home, safari,
       {"Databases/___IndexedDB/https_b.example_0/store/IndexedDB.sqlite3", "Bookmarks.plist", "History.db",
        "Extensions/notes.safariextz"});
  fill(home, "Library/Cookies/",
       {"Cookies.binarycookies", "Cookies.plist", "HSTS.plist", "com.example.mail.binarycookies"});
  fill(home, std::string(kCaches) + "com.apple.Safari/",
       {"Cache.db", "Cache.db-wal", "fsCachedData/a/1", "fsCachedData/2", "Webpage Previews/1.jpeg"});
  fill(home, std::string(kCaches) + "CloudKit/", {"com.apple.Safari/1/db", "com.example.mail/1"});
}

/// Fills a profile of the Chrome family; for Opera that is its data folder.
void fillChromeProfile(const ScratchFolder& home, const std::string& profile) {
  makeWebDatabases(home, profile + "databases/");
  makeLocalStorage(home, profile + "Local Storage/");
  runStatements(home.path(profile + "Origin Bound Certs"),
                "CREATE TABLE origin_bound_certs (origin TEXT, private_key BLOB);"
                "INSERT INTO origin_bound_certs VALUES ('https://a.example', x'01'), ('https://b.example', x'0002');"
                "CREATE TABLE meta (key TEXT, value TEXT); INSERT INTO meta VALUES ('version', '5');");
  fill(home, profile,
       {"Cookies", "Cookies-journal", "IndexedDB/https_b.example_0.indexeddb.leveldb/LOG",
        "Pepper Data/Shockwave Flash/a.sol", "Application Cache/Index", "Application Cache/Cache/data_0",
        "GPUCache/data_1", "TransportSecurity", "Bookmarks", "History", "Login Data", "Preferences",
        "Extensions/notes/1.0/manifest.json", "Local Extension Settings/notes/LOG"});
}

void fillChrome(const ScratchFolder& home, const std::string& data, const std::string& caches) {
  home.file(data + "Local State", kLocalState);
  fill(home, data, {"First Run"});
  for (const char* profile : {"Default/", "P 1/", "Unlisted/"}) {
    fillChromeProfile(home, data + profile);
    fill(home, caches + profile, {"Cache/data_0", "Media Cache/index"});
  }
  fill(home, caches, {"PnaclTranslationCache/index"});
}

void fillFirefoxProfile(const ScratchFolder& home, const std::string& name, const std::string& settings) {
  const std::string profile = kFirefox + name;
  runStatements(home.path(profile + "webappsstore.sqlite"),
                settings +
                    "CREATE TABLE webappsstore2 (scope TEXT, key TEXT, value TEXT);"
                    "INSERT INTO webappsstore2 VALUES ('elpmaxe.a.:http:80', 'seen', '1'),"
                    "  ('elpmaxe.b.:https:443', 'it''s', x'00ff'), ('elpmaxe.b.:https:443', 'more', NULL),"
                    "  ('notes-extension', 'kept', '1'), (NULL, 'nobody''s', '1');"
                    "CREATE TABLE other (scope TEXT); INSERT INTO other VALUES ('elpmaxe.a.:http:80');");
  fill(home, profile,
       {"cookies.sqlite", "cookies.sqlite-wal", "permissions.sqlite", "SiteSecurityServiceState.txt", "places.sqlite",
        "logins.json", "key4.db", "prefs.js", "storage/default/https+++b.example/ls/data.sqlite",
        "storage/temporary/https+++b.example/idb/1.sqlite", "storage/permanent/chrome/idb/1.sqlite"});
  fill(home, std::string(kCaches) + "Firefox/Profiles/" + name,
       {"Cache/_CACHE_MAP_", "OfflineCache/index.sqlite", "startupCache/startupCache.8.little", "cache2/entries/1"});
}

void fillFirefox(const ScratchFolder& home) {
  fillFirefoxProfile(home, "ann.default/", "");
  fillFirefoxProfile(home, "ann.work/", "PRAGMA journal_mode = WAL;");
  fill(home, kFirefox, {"notes.txt", "../profiles.ini"});
  fill(home, std::string(kCaches) + "Firefox/Profiles/", {"notes.txt"});
}

void fillOpera(const ScratchFolder& home) {
  fillChromeProfile(home, kOpera);
  fill(home, kOpera, {"Default/Cookies", "Default/IndexedDB/x"});
  fill(home, std::string(kCaches) + "com.operasoftware.Opera/", {"Cache/data_0", "Media Cache/index"});
}

std::string content(const fs::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

/// Every row of every table, with its values as SQL literals.
Texts rowsOf(const std::string& path) {
  Texts rows;
  for (const std::string& table : valuesOf(path, "SELECT name FROM sqlite_schema WHERE type = 'table' ORDER BY name")) {
    const std::string columns =
        valuesOf(path, "SELECT group_concat('quote(' || name || ')', ' || '', '' || ') FROM pragma_table_info('" +
                           table + "')")
            .front();
    for (const std::string& row : valuesOf(path, "SELECT " + columns + " FROM " + table + " ORDER BY rowid")) {
      rows.push_back(table + ": " + row);
    }
  }
  return rows;
}

/// The texts of the first list that the second lacks; equal texts are counted.
Texts missingIn(Texts first, Texts second) {
  std::sort(first.begin(), first.end());
  std::sort(second.begin(), second.end());
  Texts missing;
  std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(missing));
  return missing;
}

}  // namespace

void fillSampleHome(const ScratchFolder& home) {
  fillSafari(home);
  fillFirefox(home);
  fillChrome(home, kChrome, std::string(kCaches) + "Google/Chrome/");
  fillChrome(home, kChromium, std::string(kCaches) + "Chromium/");
  fillOpera(home);
  fill(home, "Library/Preferences/Macromedia/Flash Player/",
       {"#SharedObjects/x/site.sol", "macromedia.com/settings.sol"});
  fill(home, "Library/Application Support/Microsoft/", {"Silverlight/is/store", "Office/letters"});
  fill(home, kCaches,
       {"Adobe/Flash Player/AssetCache/1.swz", "Adobe/Flash Player/NativeCache/1", "QuickTime/downloads/film.mov",
        "QuickTime/settings", "com.example.mail/1"});
  fill(home, "", {"Documents/letter.txt", "Library/Preferences/com.apple.Safari.plist", ".profile"});
  home.folder("Documents/empty");
  home.link("Desktop/documents", "../Documents");
}

HomeState::HomeState(const ScratchFolder& home) {
  for (const auto& entry : fs::recursive_directory_iterator(home.path())) {
    const std::string name = entry.path().lexically_relative(home.path()).string();
    const fs::file_status status = entry.symlink_status();
    const std::string permissions = std::to_string(static_cast<unsigned>(status.permissions())) + " ";
    if (fs::is_symlink(status)) {
      items[name] = "link to " + fs::read_symlink(entry.path()).string();
    } else if (fs::is_directory(status)) {
      items[name + "/"] = "folder " + permissions;
    } else {
      const std::string bytes = content(entry.path());
      if (bytes.starts_with(kDatabaseHeader)) rows[name] = {};
      items[name] = permissions + bytes;
    }
  }
  // Last, because reading a database may create files beside it.
  for (auto& [name, found] : rows) found = rowsOf(home.path(name));
}

HomeDifference::HomeDifference(const HomeState& before, const HomeState& after) {
  for (const auto& [name, item] : before.items) {
    const auto found = after.items.find(name);
    if (found != after.items.end()) {
      if (found->second != item && !(before.rows.contains(name) && after.rows.contains(name))) changed.push_back(name);
      continue;
    }
    const bool inGoneFolder = !gone.empty() && gone.back().ends_with('/') && name.starts_with(gone.back());
    if (!inGoneFolder) gone.push_back(name);
  }
  for (const auto& [name, item] : after.items) {
    if (!before.items.contains(name)) added.push_back(name);
  }
  for (const auto& [name, rowsBefore] : before.rows) {
    const auto found = after.rows.find(name);
    if (found == after.rows.end()) continue;  // removed, or no longer a database
    const Texts lost = missingIn(rowsBefore, found->second);
    const Texts gained = missingIn(found->second, rowsBefore);
    for (const std::string& row : lost) goneRows.push_back(name + ", " + row);
    for (const std::string& row : gained) added.push_back(name + ", " + row);
    if (lost.empty() && gained.empty() && before.items.at(name) != after.items.at(name)) touched.push_back(name);
  }
}

}  // namespace testing_support
