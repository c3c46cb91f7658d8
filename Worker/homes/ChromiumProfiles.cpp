#include "Worker/homes/ChromiumProfiles.h"

#include <set>

#include "Platform/Path.h"
#include "Worker/cells/InCell.h"
#include "Worker/formats/LocalState.h"
#include "Worker/homes/FolderForm.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;

/// The names of the folders beside "Local State" that may be profiles, listed there or not.
std::set<std::string> namesIn(const std::string& dataFolder) {
  std::set<std::string> names;
  const auto list = GrantedFiles::bytesOf(appendingPathComponent(dataFolder, kLocalState));
  for (const auto& [name, displayName] : list ? InCell::profilesOfLocalState(*list) : ProfileMap()) {
    if (platform::isPlainName(name)) names.insert(name);
  }
  for (const std::string& name : GrantedFiles::entriesOf(dataFolder)) {
    if (GrantedFiles::isDirectory(appendingPathComponent(dataFolder, name))) names.insert(name);
  }
  return names;
}

}  // namespace

StoreFolders chromiumStoreFolders(const Installation& installation, bool isProfileItself, const HomeFolder& home) {
  StoreFolders folders{installation.dataFolder, {}, {}};
  std::set<std::string> names = namesIn(installation.dataFolder);
  if (isProfileItself) names.insert("");
  for (const std::string& name : names) {
    const std::string profile = appendingPathComponent(installation.dataFolder, name);
    if (!isProfile(home, Family::kChromium, profile)) continue;
    folders.profiles.push_back(profile);
    for (const std::string& caches : installation.cacheFolders) {
      folders.caches.push_back(appendingPathComponent(caches, name));
    }
  }
  return folders;
}

}  // namespace tidewell
