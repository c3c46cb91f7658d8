#include "MainApplication/preview/PreviewGroups.h"

#include <array>
#include <span>

#include "Platform/Path.h"
#include "Worker/stores/StoreTables.h"

namespace tidewell {
namespace {

PreviewGroup groupFor(StoreGroup group) {
  switch (group) {
    case StoreGroup::kCookies:
      return PreviewGroup::kCookies;
    case StoreGroup::kSiteStorage:
      return PreviewGroup::kSiteData;
    case StoreGroup::kCaches:
      return PreviewGroup::kCaches;
  }
  return PreviewGroup::kOther;
}

/// Adds the stores of a table. The first row for a path counts: rows for other versions of a browser follow.
void add(std::span<const Store> table, const std::string& folder, std::map<std::string, PreviewGroup>& groups) {
  for (const Store& store : table) {
    const std::string path = store.path.empty() ? folder : platform::appendingPathComponent(folder, store.path);
    groups.emplace(path, groupFor(store.group));
  }
}

/// Without what SQLite and repairs append to a database's name.
std::string withoutSuffix(const std::string& path) {
  constexpr std::array kSuffixes{"-journal", "-wal", "-shm", ".tidewell"};
  for (const std::string_view suffix : kSuffixes) {
    if (path.ends_with(suffix)) return path.substr(0, path.size() - suffix.size());
  }
  return path;
}

std::string wholePath(const std::string& place, const std::string& home) {
  std::string path = place.starts_with('~') ? home + place.substr(1) : place;
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

}  // namespace

std::string_view wordFor(PreviewGroup group) {
  constexpr std::array<std::string_view, 4> kWords{"cookies", "site-data", "caches", "other"};
  return kWords.at(static_cast<std::size_t>(group));
}

StorePlaces::StorePlaces(const Browser& browser, const Layout& layout, const std::string& home) {
  const StoreTables& tables = storesOf(browser.family);
  for (const Installation& installation : layout.installationsOf(browser)) {
    const StoreFolders folders = layout.storeFoldersOf(browser, installation);
    for (const std::string& profile : folders.profiles) {
      add(tables.profile, wholePath(profile, home), groups_);
      if (browser.hasFlashOfItsOwn) add(tables.ownFlash, wholePath(profile, home), groups_);
    }
    for (const std::string& caches : folders.caches) add(tables.caches, wholePath(caches, home), groups_);
    if (!folders.dataFolder.empty()) add(tables.data, wholePath(folders.dataFolder, home), groups_);
    // Whatever else is in a folder of caches: that of a home with a Library goes as a whole.
    for (const std::string& caches : installation.cacheFolders) {
      groups_.emplace(wholePath(caches, home), PreviewGroup::kCaches);
    }
  }
}

PreviewGroup StorePlaces::groupOf(const std::string& path) const {
  for (std::string place = withoutSuffix(path); place.size() > 1; place = platform::deletingLastPathComponent(place)) {
    const auto found = groups_.find(place);
    if (found != groups_.end()) return found->second;
  }
  return PreviewGroup::kOther;
}

}  // namespace tidewell
