#include "Worker/homes/LibraryLayout.h"

#include <algorithm>

#include "Platform/Path.h"
#include "Worker/formats/LocalState.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;

/// Whether a folder could lie outside the data folder: a list of profiles may name any.
bool leadsUpwards(const std::string& folder) {
  const std::vector<std::string> components = platform::pathComponents(folder);
  return std::find(components.begin(), components.end(), "..") != components.end();
}

std::vector<std::string> listedProfiles(const std::string& dataFolder) {
  const auto text = Sandbox::contentsOf(appendingPathComponent(dataFolder, kLocalState));
  std::vector<std::string> folders;
  for (const auto& [name, displayName] : profilesOfLocalState(text.value_or(""))) {
    std::string folder = appendingPathComponent(dataFolder, name);
    if (!leadsUpwards(folder)) folders.push_back(std::move(folder));
  }
  return folders;
}

std::vector<std::string> foldersIn(const std::string& folder) {
  std::vector<std::string> folders;
  for (const std::string& name : Sandbox::folderContentsOf(folder)) {
    std::string entry = appendingPathComponent(folder, name);
    if (isDirectory(entry)) folders.push_back(std::move(entry));
  }
  return folders;
}

}  // namespace

std::vector<Installation> LibraryLayout::installationsOf(const Browser& browser) const {
  if (!browser.isOnHomesWithLibrary()) return {};
  return {{std::string(browser.library.dataFolder), {std::string(browser.library.cacheFolder)}}};
}

StoreFolders LibraryLayout::storeFoldersOf(const Browser& browser, const Installation& installation) const {
  StoreFolders folders{installation.dataFolder, {}, {}};
  switch (browser.family) {
    case Family::kFirefox:
      folders.profiles = foldersIn(installation.dataFolder);
      for (const std::string& caches : installation.cacheFolders) folders.caches = foldersIn(caches);
      break;
    case Family::kChromium:
      folders.profiles = browser.hasProfileInDataFolder ? std::vector{installation.dataFolder}
                                                        : listedProfiles(installation.dataFolder);
      break;
    case Family::kSafari:
      break;
  }
  return folders;
}

std::string LibraryLayout::wholePath(std::string_view place) const {
  return home_.path + std::string(place.substr(1));  // without the "~"
}

std::vector<std::string> LibraryLayout::foldersNeededBy(const Browser& browser) const {
  std::vector<std::string> folders;
  if (home_.path.empty() || !browser.isOnHomesWithLibrary()) return folders;
  for (const std::string_view place : {browser.library.dataFolder, browser.library.cacheFolder,
                                       std::string_view(kSilverlightFolder), std::string_view(kFlashPlayerFolder)}) {
    folders.push_back(wholePath(place));
  }
  return folders;
}

std::vector<std::string> LibraryLayout::foldersToAllow(const Browser& browser) const {
  if (!browser.isOnHomesWithLibrary()) return {};
  return {wholePath(browser.library.dataFolder)};
}

}  // namespace tidewell
