#include "Worker/homes/FolderForm.h"

#include <algorithm>

#include "Platform/Path.h"
#include "Worker/browsers/Family.h"

namespace tidewell {
namespace {

/// Whether one of these files is in the folder; also true when there are none to look for.
bool holdsOneOf(const FamilyFacts::FileNames& names, const HomeFolder& home, const std::string& folder) {
  return names.empty() || std::any_of(names.begin(), names.end(), [&](std::string_view name) {
           return home.eyes.isRegularFile(platform::appendingPathComponent(folder, name));
         });
}

}  // namespace

bool isPersonal(const HomeFolder& home, const std::string& folder) {
  const auto& personal = home.personalFolders;
  const std::string place = home.eyes.withoutLinks(folder);
  return platform::isPathInside(home.eyes.withoutLinks(home.path), place) ||
         std::find(personal.begin(), personal.end(), place) != personal.end();
}

bool isOfKind(Installation::Kind kind, const HomeFolder& home, Family family, const std::string& folder) {
  const FamilyFacts& facts = factsOf(family);
  const bool isSingle = kind == Installation::Kind::kProfile;
  return holdsOneOf(isSingle ? facts.filesOfProfile : facts.filesOfDataFolder, home, folder) &&
         home.eyes.isFolder(folder) && !isPersonal(home, folder);
}

bool isProfile(const HomeFolder& home, Family family, const std::string& folder) {
  return isOfKind(Installation::Kind::kProfile, home, family, folder);
}

Installation::Kind kindOfStartedWith(Family family) {
  return factsOf(family).namesSingleProfiles ? Installation::Kind::kProfile : Installation::Kind::kWhole;
}

}  // namespace tidewell
