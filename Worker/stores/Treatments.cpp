#include "Worker/stores/Treatments.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <vector>

#include "Platform/Path.h"
#include "Worker/formats/CacheStorageIndex.h"
#include "Worker/formats/Preferences.h"
#include "Worker/formats/SessionStore.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;

constexpr const char* kDatabaseCompanions[] = {"", "-journal", "-wal", "-shm"};

// How the stores name an extension: in origins, in names of items, and in any text at all.
constexpr std::string_view kExtensionOrigin = "chrome-extension://";
constexpr std::string_view kChromeExtension = "chrome-extension_";
constexpr std::string_view kFirefoxExtension = "moz-extension+++";
constexpr std::string_view kAnyExtension = "chrome-extension";

constexpr std::size_t kLargestOrigin = std::size_t{64} << 10;  // bytes

bool mentionsExtension(std::string_view bytes) {
  return bytes.find(kAnyExtension) != std::string_view::npos;
}

template <typename Predicate>
void removeEntriesUnless(const std::string& folder, Predicate isKept) {
  if (!GrantedFiles::isDirectory(folder)) return;
  for (const std::string& name : GrantedFiles::entriesOf(folder)) {
    if (!isKept(name)) GrantedFiles::remove(appendingPathComponent(folder, name));
  }
}

/// What was deleted must not stay readable in a database's unused pages, or in its log.
void runStatements(const std::string& database, const std::string& statement, const std::string& second = ";") {
  GrantedFiles::runStatements(
      {"PRAGMA secure_delete = ON;", statement, second, "VACUUM;", "PRAGMA wal_checkpoint(TRUNCATE);"}, database);
}

}  // namespace

void removeWhole(const std::string& path) {
  GrantedFiles::remove(path);
}

void removeDatabase(const std::string& path) {
  for (const char* companion : kDatabaseCompanions) GrantedFiles::remove(path + companion);
}

void removeEntries(const std::string& path) {
  removeEntriesUnless(path, [](const std::string&) { return false; });
}

void removeContents(const std::string& path) {
  GrantedFiles::removeContentsOf(path);
}

void removeBeginningSo(const std::string& path) {
  const std::string folder = platform::deletingLastPathComponent(path);
  std::string beginning = platform::lastPathComponent(path);
  beginning.pop_back();  // the "*"
  for (const std::string& name : GrantedFiles::entriesOf(folder)) {
    if (name.starts_with(beginning)) GrantedFiles::remove(appendingPathComponent(folder, name));
  }
}

void removeChromeSites(const std::string& path) {
  removeEntriesUnless(path, [](const std::string& name) { return name.starts_with(kChromeExtension); });
}

void removeFirefoxSites(const std::string& path) {
  removeEntriesUnless(path, [](const std::string& name) { return name.starts_with(kFirefoxExtension); });
}

void deleteChannelIDs(const std::string& path) {
  GrantedFiles::runStatements({"DELETE FROM origin_bound_certs;"}, path);
}

void cleanWebDatabases(const std::string& path) {
  static constexpr char kOfSites[] =
      " FROM Databases WHERE substr(origin, 1, 17) NOT IN ('chrome-extension_', 'safari-extension_')";
  const std::string index = appendingPathComponent(path, "Databases.db");
  for (const Row row : GrantedFiles::runStatements({std::string("SELECT origin") + kOfSites}, index)) {
    const auto origin = row.stringForKey("origin");
    // The name comes from the browser's file: one that is not plain could lead out of the folder.
    if (origin && platform::isPlainName(*origin)) GrantedFiles::remove(appendingPathComponent(path, *origin));
  }
  GrantedFiles::runStatements({std::string("DELETE") + kOfSites}, index);
}

void removeLocalStorageFiles(const std::string& path) {
  static constexpr std::string_view kFile = ".localstorage";
  for (const std::string& name : GrantedFiles::entriesOf(path)) {
    if (!name.ends_with(kFile) || name.starts_with(kChromeExtension)) continue;
    GrantedFiles::remove(appendingPathComponent(path, name));
    GrantedFiles::remove(appendingPathComponent(path, name) + "-journal");
  }
}

void cleanLocalStorage(const std::string& path) {
  // Keys begin with a prefix and the origin: "_" for what a site has stored, the others for what is noted about it.
  static constexpr std::string_view kOfOrigins[] = {"_", "META:", "METAACCESS:"};
  const auto isKept = [](std::string_view key, std::string_view) {
    for (const std::string_view prefix : kOfOrigins) {
      if (key.starts_with(prefix)) return key.substr(prefix.size()).starts_with(kExtensionOrigin);
    }
    return true;
  };
  GrantedFiles::keepInLevelDatabase(path, isKept, mentionsExtension);
}

void cleanCacheStorage(const std::string& path) {
  removeEntriesUnless(path, [&path](const std::string& name) {
    const std::string index = appendingPathComponent(appendingPathComponent(path, name), "index.txt");
    const std::string bytes = GrantedFiles::bytesOf(index, kLargestCacheStorageIndex).value_or("");
    const auto origin = originOfCacheStorage(bytes);
    return origin ? origin->starts_with(kExtensionOrigin) : mentionsExtension(bytes);
  });
}

void cleanFileSystem(const std::string& path) {
  static constexpr std::string_view kOrigin = "ORIGIN:";
  static constexpr std::string_view kOrigins = "Origins";
  if (!GrantedFiles::isDirectory(path)) return;
  const std::string origins = appendingPathComponent(path, kOrigins);
  std::set<std::string, std::less<>> kept;
  const auto isKept = [&kept](std::string_view key, std::string_view folder) {
    if (!key.starts_with(kOrigin)) return true;
    const bool isOfExtension = key.substr(kOrigin.size()).starts_with(kChromeExtension);
    if (isOfExtension) kept.emplace(folder);
    return isOfExtension;
  };
  const auto outcome = GrantedFiles::keepInLevelDatabase(origins, isKept, mentionsExtension);
  if (outcome == LevelDatabase::Outcome::kLeft) return;  // the owners of the folders are unknown

  // The first origin of all is recorded outside the database, and has a folder of its own.
  const std::string primary = appendingPathComponent(path, "primary.origin");
  if (mentionsExtension(GrantedFiles::bytesOf(primary, kLargestOrigin).value_or(""))) {
    kept.insert({"primary", "primary.origin"});
  }
  if (kept.empty()) return GrantedFiles::remove(path);
  kept.emplace(kOrigins);
  removeEntriesUnless(path, [&kept](const std::string& name) { return kept.contains(name); });
}

void cleanWebStorage(const std::string& path) {
  // Always gives one row, so that no row means that the index can't be read.
  static constexpr char kBuckets[] =
      "SELECT '/' || group_concat(id, '/') || '/' AS kept FROM buckets"
      " WHERE substr(storage_key, 1, 19) = 'chrome-extension://';";
  static constexpr char kDeleteSites[] =
      "DELETE FROM buckets WHERE substr(storage_key, 1, 19) <> 'chrome-extension://';";
  static constexpr char kIndex[] = "QuotaManager";
  if (!GrantedFiles::isDirectory(path)) return;
  const std::string index = appendingPathComponent(path, kIndex);
  const Rows rows = GrantedFiles::runStatements({kBuckets}, index);
  if (rows.empty()) {
    if (!mentionsExtension(GrantedFiles::bytesOf(index).value_or(""))) GrantedFiles::remove(path);
    return;
  }
  const auto kept = rows[0].stringForKey("kept");  // null when no bucket is kept
  if (!kept) return GrantedFiles::remove(path);
  removeEntriesUnless(path, [&kept](const std::string& name) {
    return name.starts_with(kIndex) || kept->find('/' + name + '/') != std::string_view::npos;
  });
  runStatements(index, kDeleteSites);
}

void cleanPreferences(const std::string& path) {
  GrantedFiles::rewrite(path, withoutSites);
}

void cleanStorageIndex(const std::string& path) {
  runStatements(path, "DELETE FROM origin WHERE origin NOT LIKE 'moz-extension://%';");
}

void cleanStorageArchive(const std::string& path) {
  runStatements(path, "DELETE FROM webappsstore2 WHERE instr(scope, '.:') > 0;");  // follows the host of every site
}

void deleteScopes(const std::string& path) {
  GrantedFiles::runStatements({"DELETE FROM webappsstore2 WHERE instr(scope, '.:') > 0;"}, path);
}

void cleanContentPreferences(const std::string& path) {
  runStatements(path, "DELETE FROM prefs WHERE groupID IS NOT NULL;", "DELETE FROM groups;");
}

void cleanSessionStore(const std::string& path) {
  GrantedFiles::rewrite(path, withoutSiteData);
}

void cleanSessionStores(const std::string& path) {
  if (!GrantedFiles::isDirectory(path)) return;
  for (const std::string& name : GrantedFiles::entriesOf(path)) {
    cleanSessionStore(appendingPathComponent(path, name));
  }
}

}  // namespace tidewell::treatments
