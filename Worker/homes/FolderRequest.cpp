#include "Worker/homes/FolderRequest.h"

#include <algorithm>
#include <set>

#include "Platform/Platform.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

/// Links can give a folder several names.
std::string withoutLinks(const std::string& folder) {
  return platform::Platform::current().fileManager.urlByResolvingSymlinks(platform::FileURL(folder, true)).path();
}

}  // namespace

bool lacksFolders(const Layout& layout, const Browser& browser) {
  const std::vector<std::string> needed = layout.foldersNeededBy(browser);
  return !std::all_of(needed.begin(), needed.end(), GrantedFiles::isGranted);
}

bool askForFolders(const Layout& layout, const Browser& browser) {
  std::set<std::string> asked;
  bool hasMore = false;
  // Twice: a list of profiles in a newly granted folder may name more folders.
  for (int round = 0; round < 2; ++round) {
    for (const std::string& folder : layout.foldersNeededBy(browser)) {
      if (!asked.insert(withoutLinks(folder)).second) continue;
      const bool wasGranted = GrantedFiles::isGranted(folder);
      hasMore |= GrantedFiles::obtain(folder) && !wasGranted;
    }
  }
  return hasMore;
}

}  // namespace tidewell
