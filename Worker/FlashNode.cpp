// Removes what the Flash plug-ins keep for sites.

#include "Platform/Path.h"
#include "Worker/Browsers.h"
#include "Worker/PluginFolders.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

constexpr char kPepperData[] = "/Pepper Data";  // appended to a profile's folder as text

/// Google Chrome and Chromium carry a Flash plug-in of their own, whose data lies in each profile.
bool hasFlashOfItsOwn(const std::string& browserName) {
  return browserName == kGoogleChrome || browserName == kChromium;
}

}  // namespace

void WorkerAppDelegate::removeFlash(const std::string& browserName) {
  if (hasFlashOfItsOwn(browserName)) {
    clearChromeFlash(browserName);
  } else {
    Sandbox::remove(kFlashPlayerFolder);
  }
}

void WorkerAppDelegate::clearChromeFlash(const std::string& browserName) {
  if (!hasFlashOfItsOwn(browserName)) return;
  const Browser* browser = browserNamed(browserName);
  for (const auto& [folder, displayName] : userProfiles(browserName)) {
    Sandbox::remove(platform::appendingPathComponent(browser->dataFolder, folder) + kPepperData);
  }
}

}  // namespace tidewell
