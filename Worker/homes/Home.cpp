#include "Worker/homes/Home.h"

#include <algorithm>
#include <utility>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/formats/FirefoxProfiles.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/homes/StartedWith.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr std::string_view kConfiguration = "~/.config";
constexpr std::string_view kCaches = "~/.cache";
constexpr char kLibrary[] = "/Library";  // in the home folder

struct Place {
  std::string_view browser;
  std::string_view dataFolder;
  std::string_view cacheFolder;
};

// In the order in which they are visited. Distributions and makers, then Flatpak, then Snap.
constexpr Place kPlaces[] = {
    {kFirefox, "~/.config/mozilla/firefox", "~/.cache/mozilla/firefox"},  // where new profiles are made since 2025
    {kFirefox, "~/.mozilla/firefox", "~/.cache/mozilla/firefox"},
    {kFirefox, "~/.var/app/org.mozilla.firefox/config/mozilla/firefox",
     "~/.var/app/org.mozilla.firefox/cache/mozilla/firefox"},
    {kFirefox, "~/.var/app/org.mozilla.firefox/.config/mozilla/firefox",
     "~/.var/app/org.mozilla.firefox/cache/mozilla/firefox"},
    {kFirefox, "~/.var/app/org.mozilla.firefox/.mozilla/firefox",
     "~/.var/app/org.mozilla.firefox/cache/mozilla/firefox"},
    {kFirefox, "~/snap/firefox/common/.config/mozilla/firefox", "~/snap/firefox/common/.cache/mozilla/firefox"},
    {kFirefox, "~/snap/firefox/common/.mozilla/firefox", "~/snap/firefox/common/.cache/mozilla/firefox"},

    {kGoogleChrome, "~/.config/google-chrome", "~/.cache/google-chrome"},
    {kGoogleChrome, "~/.config/google-chrome-beta", "~/.cache/google-chrome-beta"},
    {kGoogleChrome, "~/.config/google-chrome-unstable", "~/.cache/google-chrome-unstable"},
    {kGoogleChrome, "~/.var/app/com.google.Chrome/config/google-chrome",
     "~/.var/app/com.google.Chrome/cache/google-chrome"},

    {kChromium, "~/.config/chromium", "~/.cache/chromium"},
    {kChromium, "~/.var/app/org.chromium.Chromium/config/chromium", "~/.var/app/org.chromium.Chromium/cache/chromium"},
    {kChromium, "~/snap/chromium/common/chromium", "~/snap/chromium/common/.cache/chromium"},

    {kOpera, "~/.config/opera", "~/.cache/opera"},
    {kOpera, "~/.var/app/com.opera.Opera/config/opera", "~/.var/app/com.opera.Opera/cache/opera"},
    {kOpera, "~/snap/opera/common/.config/opera", "~/snap/opera/common/.cache/opera"},
    {kOpera, "~/snap/opera/common/opera", "~/snap/opera/common/.cache/opera"},
};

constexpr std::string_view kPluginFolders[] = {"~/.macromedia", "~/.adobe"};

bool isExistingFolder(const std::string& path) {
  bool isDirectory = false;
  return Platform::current().fileManager.fileExists(path, isDirectory) && isDirectory;
}

/// Also when something is in the way of looking: only what is known to be none is none.
bool mayBeFolder(const std::string& path) {
  const std::error_code error = Platform::current().fileManager.checkResourceIsReachable(path);
  return error ? error != std::errc::no_such_file_or_directory : isExistingFolder(path);
}

void appendOnce(std::vector<std::string>& folders, const std::string& folder) {
  if (folder.empty() || std::find(folders.begin(), folders.end(), folder) != folders.end()) return;
  folders.push_back(folder);
}

}  // namespace

void removeFolder(const Home& home, const std::string& path) {
  home.layout == HomeLayout::kLibrary ? Sandbox::remove(path) : Sandbox::removeTree(path);
}

std::optional<HomeLayout> homeLayoutNamed(std::string_view name) {
  if (name == "Library") return HomeLayout::kLibrary;
  if (name == "XDG") return HomeLayout::kXDG;
  return std::nullopt;
}

Home Home::current() {
  Home home = whole();
  if (home.layout == HomeLayout::kXDG) {
    home.isFolder = [](const std::string& path) { return isExistingFolder(path) && Sandbox::isGranted(path); };
  }
  return home;
}

Home Home::whole() {
  const auto contentsOf = [](const std::string& path) { return Sandbox::contentsOf(path); };
  const auto shared = Platform::current().userDefaults.suite(kSharedSuite);
  Home home = of(*shared, Platform::current().system, isExistingFolder, mayBeFolder, contentsOf);
  home.withoutLinks = [](const std::string& path) {
    return Platform::current().fileManager.urlByResolvingSymlinks(platform::FileURL(path, true)).path();
  };
  return home;
}

Home Home::of(const platform::UserDefaults& shared, const platform::System& system, Test isFolder,
              const Test& mayBeFolder, Reader contentsOf) {
  Home home;
  home.isFolder = std::move(isFolder);
  home.contentsOf = std::move(contentsOf);
  const auto folder = shared.stringForKey(kUserFolderKey);
  home.folder = folder ? *folder : system.homeDirectoryFromPasswordDatabase(system.getuid()).value_or("");

  const auto named = homeLayoutNamed(shared.stringForKey(kHomeLayoutKey).value_or(""));
  home.layout = named ? *named : mayBeFolder(home.folder + kLibrary) ? HomeLayout::kLibrary : HomeLayout::kXDG;
  const auto currentStores = shared.objectForKey(kCurrentStoresKey);
  const bool* isSet = currentStores ? currentStores->as<bool>() : nullptr;
  home.cleansCurrentStores = isSet != nullptr ? *isSet : home.layout == HomeLayout::kXDG;
  if (home.layout == HomeLayout::kLibrary) return home;

  home.configurationFolder = system.configurationFolder();
  home.cachesFolder = system.cachesFolder();
  home.startedWith = startedWithFrom(shared.arrayForKey(kStartedWithKey));
  return home;
}

std::vector<Installation> Home::installationsOf(const Browser& browser) const {
  if (layout == HomeLayout::kLibrary) {
    return {{std::string(browser.dataFolder), {std::string(browser.cacheFolder)}, Installation::Kind::kWhole}};
  }
  std::vector<Installation> found;
  if (folder.empty()) return found;
  for (const Place& place : kPlaces) {
    if (place.browser != browser.name) continue;
    for (const std::string& dataFolder : existing(place.dataFolder)) {
      appendInstallation(found, {dataFolder, existing(place.cacheFolder), Installation::Kind::kWhole});
      if (browser.name != kFirefox) continue;
      const auto list = contentsOf(platform::appendingPathComponent(dataFolder, kFirefoxProfilesFile));
      for (const std::string& profile : absoluteProfiles(list.value_or(""))) {
        appendInstallation(found, {profile, {}, Installation::Kind::kProfile});
      }
    }
  }
  const auto kind = browser.name == kFirefox ? Installation::Kind::kProfile : Installation::Kind::kWhole;
  for (const StartedWith& started : startedWith) {
    if (started.bundleIdentifier != browser.bundleIdentifier) continue;
    const bool isWhole = kind == Installation::Kind::kWhole;
    appendInstallation(found, {started.folder, isWhole ? cachesFor(started.folder) : std::vector<std::string>(), kind});
  }
  dropCachesAmongData(found);
  return found;
}

/// Chromium keeps the caches of a data folder that lies among the programs' settings in the same place among their
/// caches, and those of any other in the data folder itself.
std::vector<std::string> Home::cachesFor(const std::string& dataFolder) const {
  for (const std::string& settings :
       {configurationFolder.value_or(""), folder + std::string(kConfiguration.substr(1))}) {
    if (settings.empty() || !platform::isPathInside(dataFolder, settings) || dataFolder.size() <= settings.size())
      continue;
    return existing(std::string(kCaches) + dataFolder.substr(settings.size()));
  }
  return {};
}

void Home::appendInstallation(std::vector<Installation>& found, Installation installation) const {
  const std::string& dataFolder = installation.dataFolder;
  const bool isKnown = std::any_of(found.begin(), found.end(), [&](const Installation& other) {
    return platform::isPathInside(dataFolder, other.dataFolder);
  });
  if (isKnown || !isFolder(dataFolder)) return;
  found.push_back(std::move(installation));
}

/// Caches in a data folder are the profiles' own affair: removing them as a whole would remove the profiles.
void Home::dropCachesAmongData(std::vector<Installation>& found) const {
  const auto place = [this](const std::string& path) { return withoutLinks ? withoutLinks(path) : path; };
  std::vector<std::string> dataFolders;
  for (const Installation& installation : found) dataFolders.push_back(place(installation.dataFolder));
  for (Installation& installation : found) {
    std::erase_if(installation.cacheFolders, [&](const std::string& cacheFolder) {
      const std::string caches = place(cacheFolder);
      return std::any_of(dataFolders.begin(), dataFolders.end(), [&caches](const std::string& data) {
        return platform::isPathInside(data, caches) || platform::isPathInside(caches, data);
      });
    });
  }
}

/// The place where the session has moved it, and where it usually is: what runs a browser may not know of the move.
std::vector<std::string> Home::existing(std::string_view place) const {
  std::vector<std::string> candidates;
  if (configurationFolder && place.starts_with(kConfiguration)) {
    candidates.push_back(*configurationFolder + std::string(place.substr(kConfiguration.size())));
  }
  if (cachesFolder && place.starts_with(kCaches)) {
    candidates.push_back(*cachesFolder + std::string(place.substr(kCaches.size())));
  }
  candidates.push_back(folder + std::string(place.substr(1)));
  std::vector<std::string> folders;
  for (const std::string& candidate : candidates) {
    if (isFolder(candidate)) appendOnce(folders, candidate);
  }
  return folders;
}

std::vector<std::string> Home::pluginFolders() const {
  std::vector<std::string> folders;
  if (layout == HomeLayout::kLibrary) return folders;
  for (const std::string_view place : kPluginFolders) {
    for (const std::string& existingFolder : existing(place)) folders.push_back(existingFolder);
  }
  return folders;
}

std::vector<std::string> Home::foldersNeededBy(const Browser& browser) const {
  std::vector<std::string> folders;
  if (!mayHave(browser.name) || folder.empty()) return folders;
  if (layout == HomeLayout::kLibrary) {
    for (const std::string_view needed : {browser.dataFolder, browser.cacheFolder, std::string_view(kSilverlightFolder),
                                          std::string_view(kFlashPlayerFolder)}) {
      appendOnce(folders, folder + std::string(needed.substr(1)));  // without the "~"
    }
    return folders;
  }
  for (const Installation& installation : installationsOf(browser)) {
    appendOnce(folders, installation.dataFolder);
    for (const std::string& caches : installation.cacheFolders) appendOnce(folders, caches);
  }
  for (const std::string& pluginFolder : pluginFolders()) appendOnce(folders, pluginFolder);
  return folders;
}

}  // namespace tidewell
