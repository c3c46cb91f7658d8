#include "MainApplication/doctor/HomeLook.h"

#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"
#include "Worker/keeping/KeptSites.h"

namespace tidewell {
namespace {

using Grade = Finding::Grade;

bool isFolder(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Whether the folder can be written to, or made.
bool canWrite(std::string folder) {
  while (folder.size() > 1 && ::access(folder.c_str(), F_OK) != 0) folder = platform::deletingLastPathComponent(folder);
  return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

}  // namespace

HomeLook HomeLook::now(const SettingsStore& settings) {
  HomeLook look;
  look.home = settings.home().folder.path;
  look.isThere = isFolder(look.home);
  look.sessionHome = platform::linux_::homeFolder();
  look.settings = platform::linux_::SqliteUserDefaults::folderFromEnvironment();
  look.canWriteSettings = canWrite(look.settings);
  const auto kept = settings.keptSites();
  look.canReadKeptSites = kept && !KeptSites::of(*kept).isUnknown();
  return look;
}

Findings HomeLook::findings() const {
  Findings found;
  if (!isThere) {
    found.push_back({Grade::kWrong, "home", localizable("The home folder %@ is not there.", {home}),
                     localizable("The worker writes down your home when it starts: start it anew where it is there.")});
  } else if (home != sessionHome) {
    found.push_back({Grade::kRemark,
                     "home",
                     localizable("The home %@ is cleaned; that of this session is %@.", {home, sessionHome}),
                     {}});
  } else {
    found.push_back({Grade::kGood, "home", localizable("The home is %@.", {home}), {}});
  }
  if (canWriteSettings) {
    found.push_back({Grade::kGood, "settings", localizable("The settings can be written."), {}});
  } else {
    found.push_back({Grade::kWrong, "settings", localizable("The settings can't be written in %@.", {settings}),
                     localizable("Make the folder yours: chown and chmod u+rwx.")});
  }
  if (!canReadKeptSites) {
    found.push_back({Grade::kWrong, "kept-sites",
                     localizable("The list of kept sites can't be read: all stays that may be theirs."),
                     command("tidewell keep --list")});
  }
  return found;
}

}  // namespace tidewell
