#include "Worker/cleaning/Cleaning.h"

#include <exception>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

// Each with a store's path in its table, and a browser's name.
constexpr char kNotCleaned[] = "%@ of %@ could not be cleaned";
constexpr char kOnOtherMount[] = "%@ of %@ was left in part: something else is mounted there";
constexpr char kInUse[] = "%@ of %@ was left: another program uses it";
constexpr char kNotOverwritten[] = "%@ of %@ was left in part: it could not be overwritten";
constexpr char kNotReadable[] = "%@ of %@ was left: it can't be read";

/// What is logged; null for nothing. A folder that is not allowed was logged when it was asked for.
const char* messageOn(Left left) {
  switch (left) {
    case Left::kNothing:
    case Left::kNotAllowed:
      return nullptr;
    case Left::kOnOtherMount:
      return kOnOtherMount;
    case Left::kInUse:
      return kInUse;
    case Left::kNotOverwritten:
      return kNotOverwritten;
    case Left::kNotReadable:
      return kNotReadable;
    case Left::kFailed:
      return kNotCleaned;
  }
  return nullptr;
}

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
    const std::string_view what = store.path.empty() ? store.holds : store.path;
    fenced(what, [&] { log(what, store.treatment(platform::appendingPathComponent(folder, store.path)).left); });
  }
}

void Cleaning::fenced(std::string_view what, const platform::Task& action) const {
  try {
    action();
  } catch (const std::exception&) {  // its text may quote what a site has stored
    log(what, Left::kFailed);
  }
}

void Cleaning::log(std::string_view what, Left left) const {
  const char* message = messageOn(left);
  if (message != nullptr) platform::Platform::current().log.log(platform::formatted(message, {what, browser_.name}));
}

}  // namespace tidewell
