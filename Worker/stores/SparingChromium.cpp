// The treatments of Chromium's stores while sites are kept.

#include <functional>
#include <set>

#include "Platform/Path.h"
#include "Worker/cells/InCell.h"
#include "Worker/keeping/ChromiumOwners.h"
#include "Worker/keeping/Host.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/CacheFolders.h"
#include "Worker/stores/FolderEntries.h"
#include "Worker/stores/IndexedStorage.h"
#include "Worker/stores/SparedRows.h"
#include "Worker/stores/SparingTreatments.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;
using Values = std::span<const std::string_view>;

/// What a test says of a file's bytes. Absent when they can't be read, or are too many; false for a missing file.
std::optional<bool> holds(const std::string& path, const std::function<std::optional<bool>(std::string_view)>& test,
                          std::size_t largest) {
  if (!GrantedFiles::isThere(path)) return false;
  std::optional<bool> answer;
  const auto read = GrantedFiles::holds(
      path,
      [&](std::string_view bytes) {
        answer = test(bytes);
        return true;
      },
      largest);
  return read ? answer : std::nullopt;
}

}  // namespace

Outcome removeOtherChromeCookies(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    if (values[1].empty()) return sites.keepsCookieOf(values[0]);
    const auto topLevelSite = hostOfAddress(values[1]);
    return topLevelSite && sites.keepsCookie(values[0], topLevelSite);
  };
  return keepOnlyRows(path, {{"cookies", {"host_key", "top_frame_site_key"}, isKept}});
}

Outcome removeOtherBoundSessions(const std::string& path, const KeptSites& sites) {
  // Without its keys a site would end the session of cookies that stay. The key of a row is a site: "https://a.test".
  const auto isKept = [&sites](Values values) {
    const auto host = hostOfAddress(values[0]);
    return host && sites.keepsSite(*host);
  };
  return keepOnlyRows(path, {{"dbsc_session_tbl", {"key"}, isKept}});
}

Outcome removeOtherChromeBounces(const std::string& path, const KeptSites& sites) {
  return keepOnlyRows(path, {{"bounces", {"site"}, [&sites](Values values) { return sites.keepsSite(values[0]); }},
                             {"popups", {"opener_site", "popup_site"}, [&sites](Values values) {
                                return sites.keepsSite(values[0]) && sites.keepsSite(values[1]);
                              }}});
}

Outcome removeOtherChromeSites(const std::string& path, const KeptSites& sites) {
  return removeEntriesUnless(path, [&sites](const std::string& name) {
    return keepsIdentifier(sites, std::string_view(name).substr(0, name.rfind(".indexeddb.")));
  });
}

Outcome removeOtherWebDatabases(const std::string& path, const KeptSites& sites) {
  static constexpr std::string_view kIndex = "Databases.db";
  static constexpr std::string_view kOtherExtension = "safari-extension_";
  const auto isKept = [&sites](std::string_view origin) {
    return origin.starts_with(kOtherExtension) || keepsIdentifier(sites, origin);
  };
  Outcome outcome =
      removeEntriesUnless(path, [&](const std::string& name) { return name.starts_with(kIndex) || isKept(name); });
  return outcome += GrantedFiles::changeDatabase({"DELETE FROM Databases WHERE NOT is_kept(origin);"},
                                                 appendingPathComponent(path, std::string(kIndex)),
                                                 {{"is_kept", [&](Values values) { return isKept(values[0]); }}});
}

Outcome removeOtherLocalStorageFiles(const std::string& path, const KeptSites& sites) {
  static constexpr std::string_view kFile = ".localstorage";
  static constexpr std::string_view kJournal = "-journal";
  return removeEntriesUnless(path, [&sites](const std::string& name) {
    std::string_view rest = name;
    if (rest.ends_with(kJournal)) rest.remove_suffix(kJournal.size());
    if (!rest.ends_with(kFile)) return true;
    rest.remove_suffix(kFile.size());
    return keepsIdentifier(sites, rest);
  });
}

Outcome cleanOtherLocalStorage(const std::string& path, const KeptSites& sites) {
  return cleanLocalStorageUnless(path, sites);
}

Outcome cleanOtherCacheStorage(const std::string& path, const KeptSites& sites) {
  return removeCachesUnless(path, CellTask::kStorageKeysOfCaches, [&](const CacheIndex& index) -> std::optional<bool> {
    if (index.owner) return keepsStorageKey(sites, *index.owner);
    if (index.bytes || GrantedFiles::isThere(index.path)) return std::nullopt;
    return false;
  });
}

Outcome cleanOtherFileSystem(const std::string& path, const KeptSites& sites) {
  const auto isKeptFirst = [&](std::string_view bytes) -> std::optional<bool> {
    const auto identifier = OwnersInCell(CellTask::kPickledTexts).ownerIn(bytes);
    return identifier && *identifier ? std::optional(keepsIdentifier(sites, **identifier)) : std::nullopt;
  };
  const auto firstIsKept = [&](const std::string& file) { return holds(file, isKeptFirst, kLargestOrigin); };
  return removeFileSystemsUnless(path, {sites, firstIsKept});
}

Outcome cleanOtherWebStorage(const std::string& path, const KeptSites& sites) {
  static constexpr char kIndex[] = "QuotaManager";
  if (!GrantedFiles::isDirectory(path)) return {};
  const std::string index = appendingPathComponent(path, kIndex);
  if (!GrantedFiles::isThere(index))
    return GrantedFiles::entriesOf(path).empty() ? Outcome() : Outcome{Left::kNotReadable};
  Left left = Left::kNothing;
  const auto buckets = GrantedFiles::rowsOf("SELECT id, storage_key FROM buckets;", index, left);
  if (!buckets) return {left};
  std::set<std::string, std::less<>> kept;
  for (const Row bucket : *buckets) {
    const auto id = bucket.stringForKey("id");
    if (id && keepsStorageKey(sites, bucket.stringForKey("storage_key").value_or(""))) kept.emplace(*id);
  }
  if (kept.empty()) return GrantedFiles::remove(path);
  Outcome outcome = removeEntriesUnless(
      path, [&kept](const std::string& name) { return name.starts_with(kIndex) || kept.contains(name); });
  const auto isKept = [&sites](Values values) { return keepsStorageKey(sites, values[0]); };
  return outcome += GrantedFiles::changeDatabase({"DELETE FROM buckets WHERE NOT is_kept(storage_key);"}, index,
                                                 {{"is_kept", isKept}});
}

}  // namespace tidewell::treatments
