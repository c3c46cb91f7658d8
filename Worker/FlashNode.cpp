// Removes what the Flash plug-ins keep for sites.

#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/PluginFolders.h"
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
  for (const std::string& profile : profilesOf(browserName)) Sandbox::remove(profile + kPepperData);
}

}  // namespace tidewell
