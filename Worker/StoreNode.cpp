// Cleans the stores of today's browsers, each together with its elders.

#include <algorithm>

#include "Platform/Path.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Home.h"
#include "Worker/sandbox/Sandbox.h"
#include "Worker/stores/CurrentStores.h"

namespace tidewell {
namespace {

/// On a home with a Library a list of profiles may name any folder there is.
bool leadsUpwards(const std::string& folder) {
  const std::vector<std::string> components = platform::pathComponents(folder);
  return std::find(components.begin(), components.end(), "..") != components.end();
}

void clean(StoreGroup group, std::span<const Store> stores, const std::string& folder) {
  for (const Store& store : stores) {
    if (store.group == group) store.treatment(platform::appendingPathComponent(folder, store.path));
  }
}

}  // namespace

void WorkerAppDelegate::cleanCurrentStores(StoreGroup group, const std::string& browserName) {
  const Home home = Home::current();
  if (!home.cleansCurrentStores) return;
  if (isOfChromeFamily(browserName)) {
    for (const ProfilePlaces& profile : profilesOf(browserName)) {
      if (!leadsUpwards(profile.folder)) clean(group, chromeProfileStores(), profile.folder);
    }
    for (const Installation& installation : home.installationsOf(*browserNamed(browserName))) {
      clean(group, chromeDataStores(), installation.dataFolder);
    }
  } else if (browserName == kFirefox) {
    // On a home without a Library these are folders already, and of some the parent folder is not granted.
    const auto isFolder = [&home](const std::string& path) {
      return home.layout == HomeLayout::kXDG || isDirectory(path);
    };
    for (const std::string& profile : firefoxProfiles()) {
      if (isFolder(profile)) clean(group, firefoxProfileStores(), profile);
    }
    for (const Installation& installation : home.installationsOf(*browserNamed(kFirefox))) {
      if (installation.kind == Installation::Kind::kWhole) clean(group, firefoxDataStores(), installation.dataFolder);
    }
    for (const std::string& caches : firefoxCaches()) {
      if (isFolder(caches)) clean(group, firefoxCacheStores(), caches);
    }
  }
}

}  // namespace tidewell
