#include "Worker/stores/Treatments.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <vector>

#include "Platform/Path.h"
#include "Worker/formats/CacheStorageIndex.h"
#include "Worker/formats/Preferences.h"
#include "Worker/formats/SessionStore.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;

constexpr const char* kDatabaseCompanions[] = {"", "-journal", "-wal", "-shm"};

// How the stores name an extension: in origins, in names of items, and in any text at all.
constexpr std::string_view kExtensionOrigin = "chrome-extension://";
constexpr std::string_view kChromeExtension = "chrome-extension_";
constexpr std::string_view kFirefoxExtension = "moz-extension+++";
constexpr std::string_view kAnyExtension = "chrome-extension";

bool mentionsExtension(std::string_view bytes) {
  return bytes.find(kAnyExtension) != std::string_view::npos;
}

template <typename Predicate>
void removeEntriesUnless(const std::string& folder, Predicate isKept) {
  if (!isDirectory(folder)) return;
  for (const std::string& name : Sandbox::folderContentsOf(folder)) {
    if (!isKept(name)) Sandbox::removeTree(appendingPathComponent(folder, name));
  }
}

/// What was deleted must not stay readable in a database's unused pages, or in its log.
void runStatements(const std::string& database, const std::string& statement, const std::string& second = ";") {
  Sandbox::runStatements_onfile(
      {"PRAGMA secure_delete = ON;", statement, second, "VACUUM;", "PRAGMA wal_checkpoint(TRUNCATE);"}, database);
}

}  // namespace

void removeWhole(const std::string& path) {
  Sandbox::removeTree(path);
}

void removeDatabase(const std::string& path) {
  for (const char* companion : kDatabaseCompanions) Sandbox::removeTree(path + companion);
}

void removeEntries(const std::string& path) {
  removeEntriesUnless(path, [](const std::string&) { return false; });
}

void removeBeginningSo(const std::string& path) {
  const std::string folder = platform::deletingLastPathComponent(path);
  std::string beginning = platform::lastPathComponent(path);
  beginning.pop_back();  // the "*"
  for (const std::string& name : Sandbox::entriesOf(folder)) {
    if (name.starts_with(beginning)) Sandbox::removeTree(appendingPathComponent(folder, name));
  }
}

void removeChromeSites(const std::string& path) {
  removeEntriesUnless(path, [](const std::string& name) { return name.starts_with(kChromeExtension); });
}

void removeFirefoxSites(const std::string& path) {
  removeEntriesUnless(path, [](const std::string& name) { return name.starts_with(kFirefoxExtension); });
}

void cleanLocalStorage(const std::string& path) {
  // What a site stored is under "_" and its origin; what is noted of it under these words and its origin.
  static constexpr std::string_view kOfOrigins[] = {"_", "META:", "METAACCESS:"};
  const auto isKept = [](std::string_view key, std::string_view) {
    for (const std::string_view prefix : kOfOrigins) {
      if (key.starts_with(prefix)) return key.substr(prefix.size()).starts_with(kExtensionOrigin);
    }
    return true;
  };
  Sandbox::keepInLevelDatabase(path, isKept, mentionsExtension);
}

void cleanCacheStorage(const std::string& path) {
  removeEntriesUnless(path, [&path](const std::string& name) {
    const std::string index = appendingPathComponent(appendingPathComponent(path, name), "index.txt");
    const std::string bytes = Sandbox::bytesOf(index).value_or("");
    const auto origin = originOfCacheStorage(bytes);
    return origin ? origin->starts_with(kExtensionOrigin) : mentionsExtension(bytes);
  });
}

void cleanFileSystem(const std::string& path) {
  static constexpr std::string_view kOrigin = "ORIGIN:";
  static constexpr std::string_view kOrigins = "Origins";
  if (!isDirectory(path)) return;
  const std::string origins = appendingPathComponent(path, kOrigins);
  std::set<std::string, std::less<>> kept;
  const auto isKept = [&kept](std::string_view key, std::string_view folder) {
    if (!key.starts_with(kOrigin)) return true;
    const bool isOfExtension = key.substr(kOrigin.size()).starts_with(kChromeExtension);
    if (isOfExtension) kept.emplace(folder);
    return isOfExtension;
  };
  const auto outcome = Sandbox::keepInLevelDatabase(origins, isKept, mentionsExtension);
  if (outcome == LevelDatabase::Outcome::kLeft) return;  // it can't be told whose each folder is

  // The first origin of all has a place of its own, outside of the database.
  if (mentionsExtension(Sandbox::bytesOf(appendingPathComponent(path, "primary.origin")).value_or(""))) {
    kept.insert({"primary", "primary.origin"});
  }
  if (kept.empty()) return Sandbox::removeTree(path);
  kept.emplace(kOrigins);
  removeEntriesUnless(path, [&kept](const std::string& name) { return kept.contains(name); });
}

void cleanWebStorage(const std::string& path) {
  // One row whatever there is, so that none means that the index can't be read.
  static constexpr char kBuckets[] =
      "SELECT '/' || group_concat(id, '/') || '/' AS kept FROM buckets"
      " WHERE substr(storage_key, 1, 19) = 'chrome-extension://';";
  static constexpr char kDeleteSites[] =
      "DELETE FROM buckets WHERE substr(storage_key, 1, 19) <> 'chrome-extension://';";
  static constexpr char kIndex[] = "QuotaManager";
  if (!isDirectory(path)) return;
  const std::string index = appendingPathComponent(path, kIndex);
  const auto rows = Sandbox::returnArrayFromSql_onfile(kBuckets, index);
  if (!rows || rows->empty()) {
    if (!mentionsExtension(Sandbox::bytesOf(index).value_or(""))) Sandbox::removeTree(path);
    return;
  }
  const auto kept = (*rows)[0].stringForKey("kept");  // a null for no bucket at all
  if (!kept) return Sandbox::removeTree(path);
  removeEntriesUnless(path, [&kept](const std::string& name) {
    return name.starts_with(kIndex) || kept->find('/' + name + '/') != std::string_view::npos;
  });
  runStatements(index, kDeleteSites);
}

void cleanPreferences(const std::string& path) {
  Sandbox::rewrite(path, withoutSites);
}

void cleanStorageIndex(const std::string& path) {
  runStatements(path, "DELETE FROM origin WHERE origin NOT LIKE 'moz-extension://%';");
}

void cleanStorageArchive(const std::string& path) {
  runStatements(path, "DELETE FROM webappsstore2 WHERE instr(scope, '.:') > 0;");  // behind the host of every site
}

void cleanContentPreferences(const std::string& path) {
  runStatements(path, "DELETE FROM prefs WHERE groupID IS NOT NULL;", "DELETE FROM groups;");
}

void cleanSessionStore(const std::string& path) {
  Sandbox::rewrite(path, withoutSiteData);
}

void cleanSessionStores(const std::string& path) {
  if (!isDirectory(path)) return;
  for (const std::string& name : Sandbox::folderContentsOf(path)) {
    cleanSessionStore(appendingPathComponent(path, name));
  }
}

}  // namespace tidewell::treatments
