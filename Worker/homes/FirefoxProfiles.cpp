#include "Worker/homes/FirefoxProfiles.h"

#include "Platform/Path.h"
#include "Worker/formats/ProfilesIni.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;
using Folders = std::vector<std::string>;

/// The folders in `folder`, and those that the list of profiles places deeper.
void appendFolders(Folders& folders, const std::string& folder, const Folders& nested) {
  Folders names = GrantedFiles::entriesOf(folder);
  names.insert(names.end(), nested.begin(), nested.end());
  for (const std::string& name : names) {
    std::string entry = appendingPathComponent(folder, name);
    if (GrantedFiles::isDirectory(entry)) folders.push_back(std::move(entry));
  }
}

}  // namespace

StoreFolders firefoxStoreFolders(const Installation& installation, const HomeEyes& eyes) {
  if (installation.kind == Installation::Kind::kProfile) {
    return {"", {installation.dataFolder}, {installation.dataFolder}};
  }
  StoreFolders folders{installation.dataFolder, {}, {}};
  const auto list = eyes.contentsOf(appendingPathComponent(installation.dataFolder, kProfilesIni));
  const Folders nested = nestedProfiles(list.value_or(""));
  appendFolders(folders.profiles, installation.dataFolder, nested);
  for (const std::string& caches : installation.cacheFolders) appendFolders(folders.caches, caches, nested);
  // A session may have moved data and caches to one place.
  folders.caches.insert(folders.caches.end(), folders.profiles.begin(), folders.profiles.end());
  return folders;
}

}  // namespace tidewell
