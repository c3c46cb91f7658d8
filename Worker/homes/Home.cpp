#include "Worker/homes/Home.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/cells/InCell.h"
#include "Worker/formats/ProfilesIni.h"
#include "Worker/homes/LibraryLayout.h"
#include "Worker/homes/LinuxLayout.h"
#include "Worker/homes/StartedWith.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr char kLibrary[] = "/Library";  // in the home folder
// Something of these is in every Library of programs. A folder of that name may hold books as well.
constexpr const char* kInLibrary[] = {"/Application Support", "/Caches", "/Cookies", "/Preferences", "/Safari"};

bool isExistingFolder(const std::string& path) {
  bool isDirectory = false;
  return Platform::current().fileManager.fileExists(path, isDirectory) && isDirectory;
}

/// Also true when the path can't be examined.
bool mayBeThere(const std::string& path) {
  return Platform::current().fileManager.checkResourceIsReachable(path) != std::errc::no_such_file_or_directory;
}

/// Also true when the path can't be examined: false only when it is known to be no folder.
bool mayBeFolder(const std::string& path) {
  const std::error_code error = Platform::current().fileManager.checkResourceIsReachable(path);
  return error ? error != std::errc::no_such_file_or_directory : isExistingFolder(path);
}

std::vector<std::string> profilesListedIn(const std::string& list) {
  const auto text = GrantedFiles::bytesOf(list, kLargestProfilesIni);
  return text ? InCell::listedProfiles(*text) : std::vector<std::string>();
}

/// By the setting when it names a layout, else by what lies in the home.
bool hasLibrary(const platform::UserDefaults& shared, const HomeFolder& home) {
  const std::string named = shared.stringForKey(kHomeLayoutKey).value_or("");
  if (named == "Library" || named == "XDG") return named == "Library";
  const std::string library = home.path + kLibrary;
  if (!home.eyes.mayBeFolder(library)) return false;
  return home.eyes.mayBeEmpty(library) ||
         std::any_of(std::begin(kInLibrary), std::end(kInLibrary),
                     [&](const char* name) { return home.eyes.mayBeThere(library + name); });
}

/// Also when the setting is of another kind: what was to be kept must not go because of a slip.
bool keepsSiteSettings(const platform::UserDefaults& shared) {
  const auto setting = shared.objectForKey(kKeepSiteSettingsKey);
  if (!setting) return false;
  const bool* isSet = setting->as<bool>();
  return isSet == nullptr || *isSet;
}

KeptSites keptSites(const platform::UserDefaults& shared) {
  const auto setting = shared.checkedObjectForKey(kKeptSitesKey);
  if (!setting) return KeptSites::unknown();
  return *setting ? KeptSites::from(**setting) : KeptSites();
}

std::vector<std::string> personalFolders(const HomeFolder& home, const platform::System& system) {
  std::vector<std::string> folders = system.userDirectories(home.path);
  for (const char* name : {"/.config", "/.cache", "/.local/share", "/.local/state"}) {
    folders.push_back(home.path + name);
  }
  for (const auto& moved : {home.configurationFolder, home.cachesFolder}) {
    if (moved) folders.push_back(*moved);
  }
  for (std::string& folder : folders) folder = home.eyes.withoutLinks(folder);
  return folders;
}

}  // namespace

Home Home::current() {
  HomeEyes eyes{isExistingFolder,
                mayBeFolder,
                mayBeThere,
                [](const std::string& path) { return Platform::current().fileManager.mayBeEmptyFolder(path); },
                [](const std::string& path) { return Platform::current().fileManager.isRegularFile(path); },
                profilesListedIn,
                [](const std::string& path) {
                  const platform::FileManager& files = Platform::current().fileManager;
                  return files.urlByResolvingSymlinks(files.standardizedURL(platform::FileURL(path, true))).path();
                }};
  return of(*Platform::current().userDefaults.suite(kSharedSuite), Platform::current().system, std::move(eyes));
}

Kept Home::keptWithSites(const platform::UserDefaults& shared) const {
  Kept all = kept;
  if (keepsSites) all.sites = keptSites(shared);
  return all;
}

Home Home::of(const platform::UserDefaults& shared, const platform::System& system, HomeEyes eyes) {
  Home home;
  home.folder.eyes = std::move(eyes);
  const auto path = shared.stringForKey(kUserFolderKey);
  home.folder.path = path ? *path : system.homeDirectoryFromPasswordDatabase(system.getuid()).value_or("");
  const bool isLibrary = hasLibrary(shared, home.folder);
  const auto currentStores = shared.objectForKey(kCurrentStoresKey);
  const bool* isSet = currentStores ? currentStores->as<bool>() : nullptr;
  home.cleansCurrentStores = isSet != nullptr ? *isSet : !isLibrary;
  if (isLibrary) {
    home.layout = std::make_unique<LibraryLayout>(home.folder);
  } else {
    home.kept = {.cookieRules = true, .siteSettings = keepsSiteSettings(shared)};
    home.keepsSites = true;
    home.folder.configurationFolder = system.configurationFolder();
    home.folder.cachesFolder = system.cachesFolder();
    home.folder.personalFolders = personalFolders(home.folder, system);
    home.folder.startedWith = startedWithFrom(shared.arrayForKey(kStartedWithKey));
    home.layout = std::make_unique<LinuxLayout>(home.folder);
  }
  return home;
}

}  // namespace tidewell
