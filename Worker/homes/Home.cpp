#include "Worker/homes/Home.h"

#include <utility>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/homes/LibraryLayout.h"
#include "Worker/homes/LinuxLayout.h"
#include "Worker/homes/StartedWith.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr char kLibrary[] = "/Library";  // in the home folder

bool isExistingFolder(const std::string& path) {
  bool isDirectory = false;
  return Platform::current().fileManager.fileExists(path, isDirectory) && isDirectory;
}

/// Also true when the path can't be examined: false only when it is known to be no folder.
bool mayBeFolder(const std::string& path) {
  const std::error_code error = Platform::current().fileManager.checkResourceIsReachable(path);
  return error ? error != std::errc::no_such_file_or_directory : isExistingFolder(path);
}

/// By the setting when it names a layout, else by what lies in the home.
bool hasLibrary(const platform::UserDefaults& shared, const HomeFolder& home) {
  const std::string named = shared.stringForKey(kHomeLayoutKey).value_or("");
  if (named == "Library" || named == "XDG") return named == "Library";
  return home.eyes.mayBeFolder(home.path + kLibrary);
}

}  // namespace

Home Home::current() {
  HomeEyes eyes{isExistingFolder, mayBeFolder,
                [](const std::string& path) { return Platform::current().fileManager.fileExists(path); },
                GrantedFiles::bytesOf,
                [](const std::string& path) {
                  const platform::FileURL url(path, true);
                  return Platform::current().fileManager.urlByResolvingSymlinks(url).path();
                }};
  return of(*Platform::current().userDefaults.suite(kSharedSuite), Platform::current().system, std::move(eyes));
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
    home.folder.configurationFolder = system.configurationFolder();
    home.folder.cachesFolder = system.cachesFolder();
    home.folder.startedWith = startedWithFrom(shared.arrayForKey(kStartedWithKey));
    home.layout = std::make_unique<LinuxLayout>(home.folder);
  }
  return home;
}

}  // namespace tidewell
