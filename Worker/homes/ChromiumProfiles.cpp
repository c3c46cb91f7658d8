#include "Worker/homes/ChromiumProfiles.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "Platform/Path.h"
#include "Worker/formats/LocalState.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;

// Every profile has at least one of these, and no other folder beside the profiles has any.
constexpr const char* kInProfiles[] = {"Preferences", "Secure Preferences", "History", "Local Storage",
                                       "Service Worker"};

/// Whether a folder is a profile, even one that the browser has only begun to fill.
bool isProfile(const std::string& folder) {
  const std::vector<std::string> names = GrantedFiles::entriesOf(folder);
  return std::find_first_of(names.begin(), names.end(), std::begin(kInProfiles), std::end(kInProfiles)) != names.end();
}

std::set<std::string> profileNamesIn(const std::string& dataFolder) {
  std::set<std::string> names;
  const auto list = GrantedFiles::bytesOf(appendingPathComponent(dataFolder, kLocalState));
  for (const auto& [name, displayName] : profilesOfLocalState(list.value_or(""))) {
    if (platform::isPlainName(name)) names.insert(name);
  }
  for (const std::string& name : GrantedFiles::entriesOf(dataFolder)) {
    const std::string folder = appendingPathComponent(dataFolder, name);
    if (!names.contains(name) && GrantedFiles::isDirectory(folder) && isProfile(folder)) names.insert(name);
  }
  return names;
}

}  // namespace

StoreFolders chromiumStoreFolders(const Installation& installation, bool isProfileItself) {
  StoreFolders folders{installation.dataFolder, {}, {}};
  std::set<std::string> names = profileNamesIn(installation.dataFolder);
  if (isProfileItself) names.insert("");
  for (const std::string& name : names) {
    folders.profiles.push_back(appendingPathComponent(installation.dataFolder, name));
    for (const std::string& caches : installation.cacheFolders) {
      folders.caches.push_back(appendingPathComponent(caches, name));
    }
  }
  return folders;
}

}  // namespace tidewell
