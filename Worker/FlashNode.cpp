// Removes what the Flash plug-ins keep for sites.

#include "Platform/Path.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Home.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

constexpr char kFlashPlayerInFolder[] = "Flash_Player";  // on a home without a Library; others may lie beside it
constexpr char kPepperData[] = "/Pepper Data";           // appended to a profile's folder as text

/// Google Chrome and Chromium carry a Flash plug-in of their own, whose data lies in each profile.
bool hasFlashOfItsOwn(const std::string& browserName) {
  return browserName == kGoogleChrome || browserName == kChromium;
}

}  // namespace

void WorkerAppDelegate::removeFlash(const std::string& browserName) {
  const Home home = Home::current();
  if (!home.mayHave(browserName)) return;
  if (hasFlashOfItsOwn(browserName)) {
    clearChromeFlash(browserName);
  } else if (home.layout == HomeLayout::kLibrary) {
    Sandbox::remove(kFlashPlayerFolder);
  } else {
    for (const std::string& folder : home.pluginFolders()) {
      removeFolder(home, platform::appendingPathComponent(folder, kFlashPlayerInFolder));
    }
  }
}

void WorkerAppDelegate::clearChromeFlash(const std::string& browserName) {
  if (!hasFlashOfItsOwn(browserName)) return;
  const Home home = Home::current();
  for (const ProfilePlaces& profile : profilesOf(browserName)) removeFolder(home, profile.folder + kPepperData);
}

}  // namespace tidewell
