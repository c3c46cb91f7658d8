#include "Worker/cleaning/Cleaning.h"

#include <exception>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

constexpr char kNotCleaned[] = "%@ of %@ could not be cleaned";  // a store's path in its table, and a browser's name

}  // namespace

bool Cleaning::isSpared() const {
  return ifRunning_ == IfRunning::kIsSpared && layout_.sparesRunningBrowsers() &&
         platform::Platform::current().workspace.isRunning(std::string(browser_.bundleIdentifier));
}

void Cleaning::run() const {
  if (!layout_.mayHave(browser_)) return;
  for (const Installation& installation : layout_.installationsOf(browser_)) {
    fenced("An installation", [&] { cleanInstallation(installation); });
  }
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
    if (!ages_.contains(store.age)) continue;
    if (isSpared()) return;
    fenced(store.path, [&] { store.treatment(platform::appendingPathComponent(folder, store.path)); });
  }
}

void Cleaning::fenced(std::string_view what, const platform::Task& action) const {
  try {
    action();
  } catch (const std::exception&) {  // its text may quote what a site has stored
    platform::Platform::current().log.log(platform::formatted(kNotCleaned, {what, browser_.name}));
  }
}

}  // namespace tidewell
