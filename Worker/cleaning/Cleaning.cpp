#include "Worker/cleaning/Cleaning.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/cleaning/ReportLog.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/sandbox/HeldFiles.h"

namespace tidewell {
namespace {

// Each with a store's path in its table, and a browser's name.
constexpr char kNotCleaned[] = "%@ of %@ could not be cleaned";
constexpr char kOnOtherMount[] = "%@ of %@ was left in part: something else is mounted there";
constexpr char kInUse[] = "%@ of %@ was left: another program uses it";
constexpr char kNotOverwritten[] = "%@ of %@ was left in part: it could not be overwritten";
constexpr char kListNotReadable[] = "%@ of %@ was left: the list of kept sites can't be read";
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
    case Left::kListNotReadable:
      return kListNotReadable;
    case Left::kFailed:
      return kNotCleaned;
  }
  return nullptr;
}

}  // namespace

bool Cleaning::isSpared() const {
  if (ifRunning_ != IfRunning::kIsSpared || !layout_.sparesRunningBrowsers()) return false;
  const platform::Platform& platform = platform::Platform::current();
  bool isRunning = false;
  platform.confinement.outside(
      [&] { isRunning = platform.workspace.isRunning(std::string(browser_.bundleIdentifier)); });
  return isRunning;
}

Report Cleaning::run() {
  report_ = {.browser = std::string(browser_.bundleIdentifier)};
  report_.runs.push_back({.begun = std::chrono::system_clock::now(), .ended = {}});
  const auto cells = platform::Platform::current().cells.startAhead();
  if (layout_.mayHave(browser_)) {
    installations_ = layout_.installationsOf(browser_);
    pluginFolders_ = layout_.pluginFolders();
    platform::Platform::current().confinement.run(foldersToChange(), [this] { walk(); });
  }
  report_.runs.back().ended = std::chrono::system_clock::now();
  return std::move(report_);
}

/// The folders in which everything lies that may be changed.
std::vector<std::string> Cleaning::foldersToChange() const {
  std::vector<std::string> folders = pluginFolders_;
  for (const Installation& installation : installations_) {
    folders.push_back(installation.dataFolder);
    folders.insert(folders.end(), installation.cacheFolders.begin(), installation.cacheFolders.end());
  }
  std::transform(folders.begin(), folders.end(), folders.begin(), GrantedFiles::wholePath);
  return folders;
}

void Cleaning::walk() {
  const HeldFiles held;
  for (const std::string& folder : layout_.foldersToAllow(browser_)) {
    if (!GrantedFiles::isGranted(folder)) noteNotAllowed(folder);
  }
  for (const Installation& installation : installations_) cleanInstallation(installation);
  if (!browser_.hasFlashOfItsOwn) cleanAll(pluginDataStores(), pluginFolders_);
  cleanAll(pluginCacheStores(), pluginFolders_);
  report_.held = held.paths();
}

void Cleaning::cleanInstallation(const Installation& installation) {
  StoreFolders folders;
  try {
    folders = layout_.storeFoldersOf(browser_, installation);
  } catch (const std::exception&) {  // its text may quote what a site has stored
    return note({installation.dataFolder, "", StoreGroup::kSiteStorage, {Left::kFailed}}, "An installation");
  }
  const StoreTables& tables = storesOf(browser_.family);
  cleanAll(tables.profile, folders.profiles);
  if (browser_.hasFlashOfItsOwn) cleanAll(tables.ownFlash, folders.profiles);
  if (!folders.dataFolder.empty()) clean(tables.data, folders.dataFolder);
  cleanAll(tables.caches, folders.caches);
}

void Cleaning::cleanAll(std::span<const Store> table, const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) clean(table, folder);
}

void Cleaning::clean(std::span<const Store> table, const std::string& folder) {
  for (const Store& store : table) {
    if (!ages_.contains(store.age)) continue;
    report_.isSpared = report_.isSpared || isSpared();
    if (report_.isSpared) return;
    clean(store, folder);
  }
}

void Cleaning::clean(const Store& store, const std::string& folder) {
  Outcome outcome{Left::kFailed};
  try {
    outcome = store.treatment(platform::appendingPathComponent(folder, store.path), kept_);
  } catch (const std::exception&) {  // its text may quote what a site has stored
  }
  note({folder, std::string(store.path), store.group, outcome}, store.path.empty() ? store.holds : store.path);
}

void Cleaning::note(const StoreReport& store, std::string_view name) {
  if (store.outcome.left == Left::kNotAllowed && store.outcome.removed == 0) return noteNotAllowed(store.folder);
  if (store.outcome.left == Left::kNothing && store.outcome.removed == 0) return;
  report_.stores.push_back(store);
  log(name, store.outcome);
}

/// Once for the folder that needs a grant, not for each store and folder in it.
void Cleaning::noteNotAllowed(const std::string& folder) {
  const auto isNoted = [&folder](const StoreReport& noted) {
    return noted.outcome.left == Left::kNotAllowed &&
           (folder == noted.folder || folder.starts_with(noted.folder + "/"));
  };
  if (std::any_of(report_.stores.begin(), report_.stores.end(), isNoted)) return;
  report_.stores.push_back({folder, "", StoreGroup::kSiteStorage, {Left::kNotAllowed}});
}

void Cleaning::log(std::string_view what, const Outcome& outcome) const {
  const char* message = messageOn(outcome.left);
  if (message == nullptr) return;
  platform::Platform::current().log.log(platform::formatted(message, {what, browser_.name}),
                                        logFields(report_.browser, what, outcome));
}

}  // namespace tidewell
