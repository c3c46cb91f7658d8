#include "Worker/stores/Treatments.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "Platform/Path.h"
#include "Worker/cells/InCell.h"
#include "Worker/keeping/ChromiumOwners.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/CacheFolders.h"
#include "Worker/stores/FolderEntries.h"
#include "Worker/stores/IndexedStorage.h"
#include "Worker/stores/SparingTreatments.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;

constexpr const char* kDatabaseCompanions[] = {"", "-journal", "-wal", "-shm"};

}  // namespace

Outcome removeWhole(const std::string& path) {
  return GrantedFiles::remove(path);
}

Outcome removeUnlessKept(const std::string& path, const Kept& kept) {
  return kept.siteSettings ? Outcome() : removeWhole(path);
}

Outcome removeDatabase(const std::string& path) {
  std::vector<std::string> names;
  for (const char* companion : kDatabaseCompanions) names.push_back(platform::lastPathComponent(path) + companion);
  return GrantedFiles::remove(platform::deletingLastPathComponent(path), names);
}

Outcome removeEntries(const std::string& path) {
  return removeEntriesUnless(path, [](const std::string&) { return false; });
}

Outcome removeContents(const std::string& path) {
  return GrantedFiles::removeContentsOf(path);
}

Outcome removeBeginningSo(const std::string& path) {
  const std::string folder = platform::deletingLastPathComponent(path);
  std::string beginning = platform::lastPathComponent(path);
  beginning.pop_back();  // the "*"
  std::vector<std::string> names = GrantedFiles::entriesOf(folder);
  std::erase_if(names, [&beginning](const std::string& name) { return !name.starts_with(beginning); });
  return GrantedFiles::remove(folder, names);
}

Outcome removeChromeSites(const std::string& path) {
  return removeEntriesUnless(path, [](const std::string& name) { return name.starts_with(kChromeExtension); });
}

Outcome removeFirefoxSites(const std::string& path) {
  return removeEntriesUnless(path, [](const std::string& name) { return name.starts_with(kFirefoxExtension); });
}

Outcome deleteChannelIDs(const std::string& path) {
  return GrantedFiles::changeDatabase({"DELETE FROM origin_bound_certs;"}, path);
}

Outcome cleanWebDatabases(const std::string& path) {
  // Folders are looked for by their own names, not by the index: of one that stays when its row has gone (the disk
  // failed, the browser crashed) no row would ever tell again.
  static constexpr const char* kExtensions[] = {"chrome-extension_", "safari-extension_"};
  static constexpr std::string_view kIndex = "Databases.db";
  Outcome outcome = removeEntriesUnless(path, [](const std::string& name) {
    return name.starts_with(kIndex) || std::any_of(std::begin(kExtensions), std::end(kExtensions),
                                                   [&name](const char* form) { return name.starts_with(form); });
  });
  return outcome += GrantedFiles::changeDatabase(
             {"DELETE FROM Databases WHERE substr(origin, 1, 17) NOT IN ('chrome-extension_', 'safari-extension_')"},
             appendingPathComponent(path, std::string(kIndex)));
}

Outcome removeLocalStorageFiles(const std::string& path) {
  // Each is removed for itself: a journal may be left of a file that is gone.
  static constexpr std::string_view kFiles[] = {".localstorage", ".localstorage-journal"};
  std::vector<std::string> names = GrantedFiles::entriesOf(path);
  std::erase_if(names, [](const std::string& name) {
    return name.starts_with(kChromeExtension) ||
           std::none_of(std::begin(kFiles), std::end(kFiles),
                        [&name](std::string_view ending) { return name.ends_with(ending); });
  });
  return GrantedFiles::remove(path, names);
}

Outcome cleanLocalStorage(const std::string& path) {
  return cleanLocalStorageUnless(path, {});
}

Outcome cleanCacheStorage(const std::string& path) {
  return removeCachesUnless(path, CellTask::kOriginsOfCaches, [](const CacheIndex& index) -> std::optional<bool> {
    if (!index.bytes) return false;
    return index.owner ? index.owner->starts_with(kExtensionOrigin) : mentionsExtension(*index.bytes);
  });
}

Outcome cleanFileSystem(const std::string& path) {
  const auto firstIsOfExtension = [](const std::string& file) {
    return GrantedFiles::holds(file, mentionsExtension, kLargestOrigin).value_or(true);
  };
  return removeFileSystemsUnless(path, {{}, firstIsOfExtension});
}

Outcome cleanWebStorage(const std::string& path) {
  // Always gives one row, so that no row means that the index can't be read.
  static constexpr char kBuckets[] =
      "SELECT '/' || group_concat(id, '/') || '/' AS kept FROM buckets"
      " WHERE substr(storage_key, 1, 19) = 'chrome-extension://';";
  static constexpr char kDeleteSites[] =
      "DELETE FROM buckets WHERE substr(storage_key, 1, 19) <> 'chrome-extension://';";
  static constexpr char kIndex[] = "QuotaManager";
  if (!GrantedFiles::isDirectory(path)) return {};
  const std::string index = appendingPathComponent(path, kIndex);
  Left left = Left::kNothing;
  const auto rows = GrantedFiles::rowsOf(kBuckets, index, left);
  if (left == Left::kInUse) return {left};
  if (!rows || rows->empty()) {
    if (GrantedFiles::holds(index, mentionsExtension).value_or(true)) return {Left::kNotReadable};
    return GrantedFiles::remove(path);
  }
  const auto kept = (*rows)[0].stringForKey("kept");  // null when no bucket is kept
  if (!kept) return GrantedFiles::remove(path);
  Outcome outcome = removeEntriesUnless(path, [&kept](const std::string& name) {
    return name.starts_with(kIndex) || kept->find('/' + name + '/') != std::string_view::npos;
  });
  return outcome += GrantedFiles::changeDatabase({kDeleteSites}, index);
}

Outcome cleanPreferences(const std::string& path, const Kept& kept) {
  return GrantedFiles::rewrite(path, [&kept](std::string_view text) { return InCell::withoutSites(text, kept); });
}

Outcome cleanStorageIndex(const std::string& path) {
  return GrantedFiles::changeDatabase({"DELETE FROM origin WHERE origin NOT LIKE 'moz-extension://%';"}, path);
}

Outcome deleteScopes(const std::string& path) {
  static constexpr char kOfSites[] = "instr(scope, '.:') > 0";  // follows the host of every site
  return GrantedFiles::changeDatabase({std::string("DELETE FROM webappsstore2 WHERE ") + kOfSites}, path);
}

Outcome cleanContentPreferences(const std::string& path, const Kept& kept) {
  if (kept.siteSettings) return {};
  if (!kept.sites.isEmpty()) return removeOtherContentPreferences(path, kept.sites);
  return GrantedFiles::changeDatabase({"DELETE FROM prefs WHERE groupID IS NOT NULL;", "DELETE FROM groups;"}, path);
}

Outcome cleanSessionStore(const std::string& path, const Kept& kept) {
  return GrantedFiles::rewrite(path,
                               [&kept](std::string_view file) { return InCell::withoutSiteData(file, kept.sites); });
}

Outcome cleanSessionStores(const std::string& path, const Kept& kept) {
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  for (const std::string& name : GrantedFiles::entriesOf(path)) {
    outcome += cleanSessionStore(appendingPathComponent(path, name), kept);
  }
  return outcome;
}

}  // namespace tidewell::treatments
