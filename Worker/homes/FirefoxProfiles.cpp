#include "Worker/homes/FirefoxProfiles.h"

#include "Platform/Path.h"
#include "Worker/formats/ProfilesIni.h"
#include "Worker/homes/FolderForm.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;
using Folders = std::vector<std::string>;

/// The names of the profiles, relative to the data folder: those beside the list, and those that it places deeper.
Folders profileNamesIn(const std::string& dataFolder, const HomeFolder& home) {
  Folders names = GrantedFiles::entriesOf(dataFolder);
  for (std::string& profile : home.eyes.profilesListedIn(appendingPathComponent(dataFolder, kProfilesIni))) {
    if (!isAbsoluteProfile(profile)) names.push_back(std::move(profile));
  }
  std::erase_if(names, [&](const std::string& name) {
    const std::string folder = appendingPathComponent(dataFolder, name);
    return !GrantedFiles::isDirectory(folder) || !isProfile(home, Family::kFirefox, folder);
  });
  return names;
}

}  // namespace

StoreFolders firefoxStoreFolders(const Installation& installation, const HomeFolder& home) {
  if (installation.kind == Installation::Kind::kProfile) {
    return {"", {installation.dataFolder}, {installation.dataFolder}};
  }
  StoreFolders folders{installation.dataFolder, {}, {}};
  for (const std::string& name : profileNamesIn(installation.dataFolder, home)) {
    folders.profiles.push_back(appendingPathComponent(installation.dataFolder, name));
    for (const std::string& caches : installation.cacheFolders) {
      std::string folder = appendingPathComponent(caches, name);
      if (GrantedFiles::isDirectory(folder)) folders.caches.push_back(std::move(folder));
    }
  }
  // A session may have moved data and caches to one place.
  folders.caches.insert(folders.caches.end(), folders.profiles.begin(), folders.profiles.end());
  return folders;
}

}  // namespace tidewell
