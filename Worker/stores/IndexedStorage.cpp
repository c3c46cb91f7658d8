#include "Worker/stores/IndexedStorage.h"

#include <algorithm>
#include <string>
#include <vector>

#include "Platform/Path.h"
#include "Worker/cells/LevelInCell.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/FolderEntries.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;

constexpr std::string_view kOrigins = "Origins";
// The first owner of all is recorded outside the database, and has a folder of its own.
constexpr std::string_view kFirst = "primary";
constexpr std::string_view kNameOfFirst = "primary.origin";

}  // namespace

Outcome cleanLocalStorageUnless(const std::string& path, const KeptSites& sites) {
  LevelInCell reader(ChromiumDatabase::kLocalStorage, sites);
  Outcome outcome;
  GrantedFiles::keepInLevelDatabase(path, reader, outcome);
  return outcome;
}

Outcome removeFileSystemsUnless(const std::string& path, const FileSystemOwners& owners) {
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  LevelInCell reader(ChromiumDatabase::kFileSystems, owners.sites);
  const auto database =
      GrantedFiles::keepInLevelDatabase(appendingPathComponent(path, std::string(kOrigins)), reader, outcome);
  if (database == LevelDatabase::Outcome::kLeft) return outcome;  // the owners of the folders are unknown
  if (!owners.sites.isEmpty() && database == LevelDatabase::Outcome::kAbsent) {
    const std::vector<std::string> names = GrantedFiles::entriesOf(path);
    const bool isFirstOnly = std::all_of(
        names.begin(), names.end(), [](const std::string& name) { return name == kFirst || name == kNameOfFirst; });
    if (!isFirstOnly) return outcome += Outcome{Left::kNotReadable};
  }
  FolderNames kept = reader.takeFolders();
  const auto first = owners.firstStays(appendingPathComponent(path, kNameOfFirst));
  if (!first) outcome += Outcome{Left::kNotReadable};
  if (first.value_or(true)) kept.insert({std::string(kFirst), std::string(kNameOfFirst)});
  if (kept.empty()) return outcome += GrantedFiles::remove(path);
  kept.emplace(kOrigins);
  return outcome += removeEntriesUnless(path, [&kept](const std::string& name) { return kept.contains(name); });
}

}  // namespace tidewell::treatments
