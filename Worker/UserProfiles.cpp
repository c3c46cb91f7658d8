// Finds the profiles: of Google Chrome and Chromium in the file "Local State", of Firefox as the folders that there
// are.

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "Platform/Path.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/formats/FirefoxProfiles.h"
#include "Worker/homes/Home.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using nlohmann::json;

using platform::appendingPathComponent;

constexpr char kLocalState[] = "Local State";
// Something of it is in every profile of the Chrome family, and in nothing that lies beside them.
constexpr const char* kInProfiles[] = {"Preferences", "Secure Preferences", "History", "Local Storage",
                                       "Service Worker"};

/// The object member of that name; null when `object` is no object or has no such member.
const json* member(const json* object, const char* name) {
  if (object == nullptr || !object->is_object()) return nullptr;
  const auto found = object->find(name);
  return found != object->end() ? &*found : nullptr;
}

/// The profiles that the "Local State" in a data folder lists, each with its display name.
ProfileMap profilesListedIn(const std::string& dataFolder) {
  const std::string text = Sandbox::contentsOf(appendingPathComponent(dataFolder, kLocalState)).value_or("");
  const json localState = json::parse(text, nullptr, /*allow_exceptions=*/false);

  ProfileMap profiles;
  const json* infoCache = member(member(&localState, "profile"), "info_cache");
  if (infoCache == nullptr || !infoCache->is_object()) return profiles;
  for (const auto& [folder, profile] : infoCache->items()) {
    const json* name = member(&profile, "name");
    if (name != nullptr && name->is_string()) profiles[folder] = name->get<std::string>();
  }
  return profiles;
}

/// Whether a folder is a profile that a browser of the Chrome family has filled, as far as it came to that.
bool isProfile(const std::string& folder) {
  const std::vector<std::string> names = Sandbox::entriesOf(folder);
  return std::find_first_of(names.begin(), names.end(), std::begin(kInProfiles), std::end(kInProfiles)) != names.end();
}

/// The profiles on a home without a Library: those that are listed, and those that a browser has not come to list.
ProfileMap profilesFoundIn(const std::string& dataFolder, std::string_view browserName) {
  ProfileMap profiles = profilesListedIn(dataFolder);
  std::erase_if(profiles, [](const auto& profile) { return !platform::isPlainName(profile.first); });
  for (const std::string& name : Sandbox::entriesOf(dataFolder)) {
    const std::string folder = appendingPathComponent(dataFolder, name);
    if (!profiles.contains(name) && isDirectory(folder) && isProfile(folder)) profiles.emplace(name, name);
  }
  // Opera keeps its one profile in the data folder itself, or in a folder in it.
  if (browserName == kOpera) profiles.emplace("", kOpera);
  return profiles;
}

/// The names of what lies in a folder of profiles; on a home without a Library only of the folders, and also of those
/// that Firefox's list places deeper.
std::vector<std::string> namesOfFirefoxEntries(const std::string& folder, const std::string& dataFolder,
                                               const Home& home) {
  if (home.layout == HomeLayout::kLibrary) return Sandbox::folderContentsOf(folder);
  std::vector<std::string> names = Sandbox::entriesOf(folder);
  const auto list = home.contentsOf(appendingPathComponent(dataFolder, kFirefoxProfilesFile));
  for (std::string& nested : nestedProfiles(list.value_or(""))) names.push_back(std::move(nested));
  std::erase_if(names,
                [&folder](const std::string& name) { return !isDirectory(appendingPathComponent(folder, name)); });
  return names;
}

/// What lies in a folder of profiles, or of their caches: what is no profile has none of what one holds.
void appendFirefoxEntries(std::vector<std::string>& profiles, const std::string& folder, const std::string& dataFolder,
                          const Home& home) {
  for (const std::string& name : namesOfFirefoxEntries(folder, dataFolder, home)) {
    profiles.push_back(appendingPathComponent(folder, name));
  }
}

}  // namespace

ProfileMap WorkerAppDelegate::userProfiles(const std::string& browserName) {
  const Browser& browser = *browserNamed(browserName == kGoogleChrome ? kGoogleChrome : kChromium);
  const Home home = Home::current();
  ProfileMap profiles;
  for (const Installation& installation : home.installationsOf(browser)) {
    profiles.merge(home.layout == HomeLayout::kLibrary ? profilesListedIn(installation.dataFolder)
                                                       : profilesFoundIn(installation.dataFolder, browser.name));
  }
  return profiles;
}

ProfileMap WorkerAppDelegate::profileMap(const std::string& browserName) {
  if (browserName == kGoogleChrome || browserName == kChromium) return userProfiles(browserName);
  return {{"", std::string(kOpera)}};
}

std::vector<ProfilePlaces> WorkerAppDelegate::profilesOf(const std::string& browserName) {
  const Browser& browser = *browserNamed(browserName);
  const Home home = Home::current();
  std::vector<ProfilePlaces> profiles;
  for (const Installation& installation : home.installationsOf(browser)) {
    const ProfileMap found = home.layout == HomeLayout::kLibrary
                                 ? profileMap(browserName)
                                 : profilesFoundIn(installation.dataFolder, browserName);
    for (const auto& [name, displayName] : found) {
      ProfilePlaces profile{appendingPathComponent(installation.dataFolder, name), {}};
      for (const std::string& caches : installation.cacheFolders) {
        profile.cacheFolders.push_back(appendingPathComponent(caches, name));
      }
      profiles.push_back(std::move(profile));
    }
  }
  return profiles;
}

std::vector<std::string> WorkerAppDelegate::firefoxProfiles() {
  const Home home = Home::current();
  std::vector<std::string> profiles;
  for (const Installation& installation : home.installationsOf(*browserNamed(kFirefox))) {
    if (installation.kind == Installation::Kind::kProfile) {
      profiles.push_back(installation.dataFolder);
    } else {
      appendFirefoxEntries(profiles, installation.dataFolder, installation.dataFolder, home);
    }
  }
  return profiles;
}

std::vector<std::string> WorkerAppDelegate::firefoxCaches() {
  const Home home = Home::current();
  std::vector<std::string> profiles;
  for (const Installation& installation : home.installationsOf(*browserNamed(kFirefox))) {
    for (const std::string& caches : installation.cacheFolders) {
      appendFirefoxEntries(profiles, caches, installation.dataFolder, home);
    }
    if (installation.kind == Installation::Kind::kProfile) {
      profiles.push_back(installation.dataFolder);
    } else if (home.layout == HomeLayout::kXDG) {
      // A session may have moved data and caches to one place.
      appendFirefoxEntries(profiles, installation.dataFolder, installation.dataFolder, home);
    }
  }
  return profiles;
}

}  // namespace tidewell
