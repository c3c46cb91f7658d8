#include "Worker/cleaning/Cleaning.h"

#include "Platform/Path.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {

void Cleaning::run() const {
  if (!layout_.mayHave(browser_)) return;
  for (const Installation& installation : layout_.installationsOf(browser_)) cleanInstallation(installation);
  const std::vector<std::string> plugins = layout_.pluginFolders();
  if (!browser_.hasFlashOfItsOwn) cleanAll(pluginDataStores(), plugins);
  cleanAll(pluginCacheStores(), plugins);
}

void Cleaning::cleanInstallation(const Installation& installation) const {
  const StoreTables& tables = storesOf(browser_.family);
  const StoreFolders folders = layout_.storeFoldersOf(browser_, installation);
  cleanAll(tables.profile, folders.profiles);
  if (browser_.hasFlashOfItsOwn) cleanAll(tables.ownFlash, folders.profiles);
  if (!folders.dataFolder.empty()) clean(tables.data, folders.dataFolder);
  cleanAll(tables.caches, folders.caches);
}

void Cleaning::cleanAll(std::span<const Store> table, const std::vector<std::string>& folders) const {
  for (const std::string& folder : folders) clean(table, folder);
}

void Cleaning::clean(std::span<const Store> table, const std::string& folder) const {
  for (const Store& store : table) {
    if (ages_.contains(store.age)) store.treatment(platform::appendingPathComponent(folder, store.path));
  }
}

}  // namespace tidewell
