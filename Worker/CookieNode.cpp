// Removes cookie stores as whole files, and empties the stores of channel IDs beside them. No site is spared.

#include <chrono>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/sandbox/OutcomeRecorder.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;

// Safari writes its cookies out for a moment after it has quit.
constexpr std::chrono::nanoseconds kSafariDelay{1'000'000'000};
constexpr char kSafariCookies[] = "~/Library/Cookies/Cookies.binarycookies";
constexpr char kFirefoxCookies[] = "cookies.sqlite";
constexpr char kFirefoxPermissions[] = "permissions.sqlite";
constexpr char kChromeCookies[] = "Cookies";
constexpr char kChannelIDs[] = "Origin Bound Certs";
constexpr char kDeleteChannelIDs[] = "DELETE FROM origin_bound_certs;";

}  // namespace

void WorkerAppDelegate::removeCookies(const std::string& browserName) {
  if (browserName == kSafari) {
    platform::Dispatch& dispatch = platform::Platform::current().dispatch;
    dispatch.after(kSafariDelay, dispatch.mainQueue(), [self = shared_from_this(), later = OutcomeRecorder::Later()] {
      {
        const OutcomeRecorder::Later::Doing doing(later);
        const OutcomeRecorder::Scope scope(later.recorder());
        Sandbox::remove(kSafariCookies);
      }
      self->executeScript();
    });
  } else if (browserName == kFirefox) {
    const std::string profiles(browserNamed(kFirefox)->library.dataFolder);
    for (const std::string& entry : Sandbox::folderContentsOf(profiles)) {
      const std::string profile = appendingPathComponent(profiles, entry);
      Sandbox::remove(appendingPathComponent(profile, kFirefoxCookies));
      Sandbox::remove(appendingPathComponent(profile, kFirefoxPermissions));  // what sites were allowed goes too
    }
  } else if (isOfChromeFamily(browserName)) {
    const std::vector<std::string> profiles = profilesOf(browserName);
    deleteChromeChannelID(browserName);
    for (const std::string& profile : profiles) Sandbox::remove(appendingPathComponent(profile, kChromeCookies));
  }
}

void WorkerAppDelegate::deleteChromeChannelID(const std::string& browserName) {
  if (!isOfChromeFamily(browserName)) return;
  for (const std::string& profile : profilesOf(browserName)) {
    Sandbox::runSql_onfile(kDeleteChannelIDs, appendingPathComponent(profile, kChannelIDs));
  }
}

}  // namespace tidewell
