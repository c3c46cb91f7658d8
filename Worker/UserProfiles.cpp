// Finds the profiles of Google Chrome and Chromium in the file "Local State".

#include "Platform/Path.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {

using platform::appendingPathComponent;

ProfileMap WorkerAppDelegate::userProfiles(const std::string& browserName) {
  const Browser& browser = *browserNamed(browserName == kGoogleChrome ? kGoogleChrome : kChromium);
  const auto text = Sandbox::contentsOf(appendingPathComponent(browser.library.dataFolder, kLocalState));
  return profilesOfLocalState(text.value_or(""));
}

ProfileMap WorkerAppDelegate::profileMap(const std::string& browserName) {
  if (browserName == kGoogleChrome || browserName == kChromium) return userProfiles(browserName);
  return {{"", std::string(kOpera)}};
}

bool WorkerAppDelegate::isOfChromeFamily(const std::string& browserName) {
  return browserName == kGoogleChrome || browserName == kChromium || browserName == kOpera;
}

std::vector<std::string> WorkerAppDelegate::profilesOf(const std::string& browserName) {
  std::vector<std::string> folders;
  for (const auto& [folder, displayName] : profileMap(browserName)) {
    folders.push_back(appendingPathComponent(browserNamed(browserName)->library.dataFolder, folder));
  }
  return folders;
}

}  // namespace tidewell
