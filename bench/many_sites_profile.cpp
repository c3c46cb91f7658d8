// "many_sites_profile HOME SITES" makes a home with a profile of Chromium and one of Firefox, in which that many sites
// and one extension have left data in every store.

#include <leveldb/db.h>
#include <leveldb/write_batch.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr char kExtension[] = "abcdefghijklmnopabcdefghijklmnop";

void write(const fs::path& path, const std::string& contents) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  if (!(file << contents)) throw std::runtime_error("can't write " + path.string());
}

/// A SQLite database that is filled in one transaction, for speed.
class Table {
 public:
  explicit Table(const fs::path& path) {
    fs::create_directories(path.parent_path());
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(path.c_str(), &opened);
    database_.reset(opened);
    if (result != SQLITE_OK) throw std::runtime_error("can't open " + path.string());
    run("PRAGMA synchronous = OFF; BEGIN;");
  }
  ~Table() { run("COMMIT;"); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  void run(const std::string& sql) { sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, nullptr); }

 private:
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
  };
  std::unique_ptr<sqlite3, Closer> database_;
};

std::unique_ptr<leveldb::DB> levelDatabase(const fs::path& folder) {
  fs::create_directories(folder.parent_path());
  leveldb::Options options;
  options.create_if_missing = true;
  leveldb::DB* opened = nullptr;
  if (!leveldb::DB::Open(options, folder.string(), &opened).ok())
    throw std::runtime_error("can't open " + folder.string());
  return std::unique_ptr<leveldb::DB>(opened);
}

std::string hostOf(int site) {
  return "www.site" + std::to_string(site) + ".example";
}

/// The index of a site's caches: the field of one cache, and that of the origin.
std::string cacheIndex(const std::string& origin) {
  const auto field = [](char tag, const std::string& text) { return tag + std::string(1, char(text.size())) + text; };
  return field(0x0A, field(0x0A, "v1")) + field(0x12, origin);
}

void makeChromium(const fs::path& home, int sites) {
  const fs::path data = home / ".config/chromium";
  const fs::path profile = data / "Default";
  write(data / "Local State", R"({"profile":{"info_cache":{"Default":{"name":"Person 1"}}}})");
  const auto local = levelDatabase(profile / "Local Storage/leveldb");
  const auto origins = levelDatabase(profile / "File System/Origins");
  Table cookies(profile / "Cookies");
  cookies.run("CREATE TABLE cookies (host_key TEXT, name TEXT, encrypted_value BLOB);");
  Table quota(profile / "WebStorage/QuotaManager");
  quota.run("CREATE TABLE buckets (id INTEGER PRIMARY KEY, storage_key TEXT NOT NULL, host TEXT NOT NULL);");
  std::string exceptions;
  for (int site = 0; site <= sites; ++site) {  // the last one is the extension
    const bool isExtension = site == sites;
    const std::string host = isExtension ? kExtension : hostOf(site);
    const std::string origin = (isExtension ? "chrome-extension://" : "https://") + host;
    const std::string item = (isExtension ? "chrome-extension_" : "https_") + host + "_0";
    const std::string number = std::to_string(site + 1);
    leveldb::WriteBatch batch;
    batch.Put("META:" + origin, "size");
    for (int key = 0; key < 5; ++key) {
      std::string name = "_" + origin;
      name += std::string("\0\1key", 5) + std::to_string(key);
      batch.Put(name, std::string(400, static_cast<char>('a' + key)));
    }
    local->Write({}, &batch);
    origins->Put({}, "ORIGIN:" + item, number);
    write(profile / "File System" / number / "t/00/00000000", std::string(2000, 'f'));
    write(profile / "IndexedDB" / (item + ".indexeddb.leveldb") / "000003.log", std::string(2000, 'i'));
    write(profile / "Service Worker/CacheStorage" / number / "index.txt", cacheIndex(origin + "/"));
    write(profile / "Service Worker/CacheStorage" / number / "0/1_0", std::string(2000, 'c'));
    write(profile / "WebStorage" / number / "IndexedDB/indexeddb.leveldb/000003.log", std::string(2000, 'w'));
    write(home / ".cache/chromium/Default/Cache/Cache_Data" / (number + "_0"), std::string(8000, 'p'));
    cookies.run("INSERT INTO cookies VALUES ('" + host + "', 'id', 'value');");
    quota.run("INSERT INTO buckets VALUES (" + number + ", '" + origin + "/', '" + host + "');");
    exceptions += (site == 0 ? "" : ",") + ("\"" + origin) + R"(:443,*":{"last_modified":"13","setting":1})";
  }
  write(
      profile / "Preferences",
      R"({"profile":{"name":"Person 1","content_settings":{"exceptions":{"site_engagement":{)" + exceptions + "}}}}}");
}

void makeFirefox(const fs::path& home, int sites) {
  const fs::path profile = home / ".mozilla/firefox/p.default";
  write(profile / "prefs.js", "user_pref(\"a\", 1);\n");
  Table cookies(profile / "cookies.sqlite");
  cookies.run("CREATE TABLE moz_cookies (host TEXT, name TEXT, value TEXT);");
  Table storage(profile / "storage.sqlite");
  storage.run("CREATE TABLE origin (origin TEXT);");
  Table preferences(profile / "content-prefs.sqlite");
  preferences.run("CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT); CREATE TABLE prefs (groupID INTEGER);");
  for (int site = 0; site <= sites; ++site) {
    const bool isExtension = site == sites;
    const std::string host = isExtension ? kExtension : hostOf(site);
    const std::string number = std::to_string(site + 1);
    const fs::path folder = profile / "storage/default" / ((isExtension ? "moz-extension+++" : "https+++") + host);
    write(folder / "ls/data.sqlite", std::string(6000, 'l'));
    write(folder / "idb/1.sqlite", std::string(6000, 'i'));
    write(home / ".cache/mozilla/firefox/p.default/cache2/entries" / number, std::string(8000, 'p'));
    cookies.run("INSERT INTO moz_cookies VALUES ('" + host + "', 'id', 'value');");
    storage.run("INSERT INTO origin VALUES ('" + std::string(isExtension ? "moz-extension://" : "https://") + host +
                "');");
    preferences.run("INSERT INTO groups VALUES (" + number + ", '" + host + "'); INSERT INTO prefs VALUES (" + number +
                    ");");
  }
}

}  // namespace

int main(int count, char** arguments) try {
  if (count != 3) throw std::runtime_error("say HOME SITES");
  const int sites = std::atoi(arguments[2]);
  makeChromium(arguments[1], sites);
  makeFirefox(arguments[1], sites);
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "many_sites_profile: %s\n", error.what());
  return EXIT_FAILURE;
}
