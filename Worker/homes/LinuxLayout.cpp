#include "Worker/homes/LinuxLayout.h"

#include <algorithm>

#include "Platform/Path.h"
#include "Worker/formats/ProfilesIni.h"
#include "Worker/homes/ChromiumProfiles.h"
#include "Worker/homes/FirefoxProfiles.h"
#include "Worker/homes/FolderForm.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;
using platform::isPathInside;
using Folders = std::vector<std::string>;

constexpr std::string_view kConfiguration = "~/.config";
constexpr std::string_view kCaches = "~/.cache";
constexpr std::string_view kPluginFolders[] = {"~/.macromedia", "~/.adobe"};

void appendOnce(Folders& folders, const std::string& folder) {
  if (folder.empty() || std::find(folders.begin(), folders.end(), folder) != folders.end()) return;
  folders.push_back(folder);
}

}  // namespace

std::vector<Installation> LinuxLayout::installationsOf(const Browser& browser) const {
  std::vector<Installation> found;
  if (home_.path.empty()) return found;
  for (const Place& place : browser.places) appendPlace(found, browser, place);
  appendStartedWith(found, browser);
  dropCachesAmongData(found);
  return found;
}

void LinuxLayout::appendPlace(std::vector<Installation>& found, const Browser& browser, const Place& place) const {
  for (const std::string& dataFolder : existing(place.dataFolder)) {
    if (browser.needsProfilesList && !home_.eyes.mayBeThere(appendingPathComponent(dataFolder, kProfilesIni))) continue;
    appendInstallation(found, browser.family, {dataFolder, existing(place.cacheFolder)});
    if (browser.family != Family::kFirefox) continue;
    for (const std::string& profile : home_.eyes.profilesListedIn(appendingPathComponent(dataFolder, kProfilesIni))) {
      if (!isAbsoluteProfile(profile)) continue;
      appendInstallation(found, browser.family, {profile, {}, Installation::Kind::kProfile});
    }
  }
}

void LinuxLayout::appendStartedWith(std::vector<Installation>& found, const Browser& browser) const {
  const Installation::Kind kind = kindOfStartedWith(browser.family);
  for (const StartedWith& started : home_.startedWith) {
    if (started.bundleIdentifier != browser.bundleIdentifier) continue;
    appendInstallation(
        found, browser.family,
        {started.folder, kind == Installation::Kind::kProfile ? Folders() : cachesFor(started.folder), kind});
  }
}

/// Chromium keeps the caches of a data folder below ".config" at the same relative path below ".cache", and those of
/// any other data folder in that folder.
Folders LinuxLayout::cachesFor(const std::string& dataFolder) const {
  for (const std::string& settings :
       {home_.configurationFolder.value_or(""), home_.path + std::string(kConfiguration.substr(1))}) {
    if (settings.empty() || !isPathInside(dataFolder, settings) || dataFolder.size() <= settings.size()) continue;
    return existing(std::string(kCaches) + dataFolder.substr(settings.size()));
  }
  return {};
}

void LinuxLayout::appendInstallation(std::vector<Installation>& found, Family family, Installation installation) const {
  const std::string& dataFolder = installation.dataFolder;
  const bool isKnown = std::any_of(found.begin(), found.end(), [&](const Installation& other) {
    return isPathInside(dataFolder, other.dataFolder);
  });
  if (isKnown || !isOfKind(installation.kind, home_, family, dataFolder)) return;
  std::erase_if(installation.cacheFolders, [this](const std::string& folder) { return isPersonal(home_, folder); });
  found.push_back(std::move(installation));
}

/// Drops cache folders that overlap a data folder: removing them whole would remove profiles.
void LinuxLayout::dropCachesAmongData(std::vector<Installation>& found) const {
  const auto& place = home_.eyes.withoutLinks;
  Folders dataFolders;
  for (const Installation& installation : found) dataFolders.push_back(place(installation.dataFolder));
  for (Installation& installation : found) {
    std::erase_if(installation.cacheFolders, [&](const std::string& cacheFolder) {
      const std::string caches = place(cacheFolder);
      return std::any_of(dataFolders.begin(), dataFolders.end(), [&caches](const std::string& data) {
        return isPathInside(data, caches) || isPathInside(caches, data);
      });
    });
  }
}

/// Where a place exists: where the session has moved it, and where it usually is, since a browser's launcher may not
/// know of the move.
Folders LinuxLayout::existing(std::string_view place) const {
  Folders candidates;
  if (home_.configurationFolder && place.starts_with(kConfiguration)) {
    candidates.push_back(*home_.configurationFolder + std::string(place.substr(kConfiguration.size())));
  }
  if (home_.cachesFolder && place.starts_with(kCaches)) {
    candidates.push_back(*home_.cachesFolder + std::string(place.substr(kCaches.size())));
  }
  candidates.push_back(home_.path + std::string(place.substr(1)));
  Folders folders;
  for (const std::string& candidate : candidates) {
    if (home_.eyes.isFolder(candidate)) appendOnce(folders, candidate);
  }
  return folders;
}

StoreFolders LinuxLayout::storeFoldersOf(const Browser& browser, const Installation& installation) const {
  switch (browser.family) {
    case Family::kFirefox:
      return firefoxStoreFolders(installation, home_);
    case Family::kChromium:
      return chromiumStoreFolders(installation, browser.hasProfileInDataFolder, home_);
    case Family::kSafari:
      break;
  }
  return {};
}

Folders LinuxLayout::pluginFolders() const {
  Folders folders;
  for (const std::string_view place : kPluginFolders) {
    for (const std::string& folder : existing(place)) folders.push_back(folder);
  }
  return folders;
}

Folders LinuxLayout::foldersNeededBy(const Browser& browser) const {
  Folders folders;
  if (!mayHave(browser) || home_.path.empty()) return folders;
  for (const Installation& installation : installationsOf(browser)) {
    appendOnce(folders, installation.dataFolder);
    for (const std::string& caches : installation.cacheFolders) appendOnce(folders, caches);
  }
  for (const std::string& pluginFolder : pluginFolders()) appendOnce(folders, pluginFolder);
  return folders;
}

}  // namespace tidewell
