#include "Worker/stores/IndexedStorage.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "Platform/Path.h"
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

Outcome removeFileSystemsUnless(const std::string& path, const FileSystemOwners& owners) {
  static constexpr std::string_view kOrigin = "ORIGIN:";
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  std::set<std::string, std::less<>> kept;
  const auto isKept = [&](std::string_view key, std::string_view folder) {
    if (!key.starts_with(kOrigin)) return true;
    const bool stays = owners.isKept(key.substr(kOrigin.size()));
    if (stays) kept.emplace(folder);
    return stays;
  };
  const auto database =
      GrantedFiles::keepInLevelDatabase(appendingPathComponent(path, kOrigins), isKept, owners.isPrecious, outcome);
  if (database == LevelDatabase::Outcome::kLeft) return outcome;  // the owners of the folders are unknown
  if (owners.leavesUnnamed && database == LevelDatabase::Outcome::kAbsent) {
    const std::vector<std::string> names = GrantedFiles::entriesOf(path);
    const bool isFirstOnly = std::all_of(
        names.begin(), names.end(), [](const std::string& name) { return name == kFirst || name == kNameOfFirst; });
    if (!isFirstOnly) return outcome += Outcome{Left::kNotReadable};
  }
  const auto first = owners.firstStays(appendingPathComponent(path, kNameOfFirst));
  if (!first) outcome += Outcome{Left::kNotReadable};
  if (first.value_or(true)) kept.insert({std::string(kFirst), std::string(kNameOfFirst)});
  if (kept.empty()) return outcome += GrantedFiles::remove(path);
  kept.emplace(kOrigins);
  return outcome += removeEntriesUnless(path, [&kept](const std::string& name) { return kept.contains(name); });
}

}  // namespace tidewell::treatments
