#include "MainApplication/doctor/QuitsLook.h"

#include <sys/inotify.h>
#include <unistd.h>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Platform/Linux/processes/ProcessConnector.h"

namespace tidewell {
namespace {

namespace linux_ = platform::linux_;
using Grade = Finding::Grade;

bool hasProgram(const Browser& browser, const std::string& home) {
  platform::WatchedApplication application = watched(browser);
  for (std::string& place : application.executablePlaces) {
    if (place.starts_with("~/")) place.replace(0, 1, home);
  }
  linux_::PathWatch::Interests unused;
  const auto found = linux_::findExecutables({application}, linux_::SearchPlaces::fromEnvironment(), unused);
  return !found[0].programs.empty() || !found[0].scripts.empty();
}

bool hasData(const Browser& browser, const Home& home) {
  for (const Installation& installation : home.layout->installationsOf(browser)) {
    const std::string& place = installation.dataFolder;
    const std::string folder = place.starts_with('~') ? home.folder.path + place.substr(1) : place;
    if (::access(folder.c_str(), F_OK) == 0) return true;
  }
  return false;
}

/// Whether the person's limit of watched files leaves room for another.
bool inotifyHasRoom() {
  linux_::FileDescriptor watch;
  watch.reset(::inotify_init1(IN_CLOEXEC));
  return watch && ::inotify_add_watch(watch.get(), "/", IN_CREATE) >= 0;
}

}  // namespace

QuitsLook QuitsLook::now(linux_::RunLoop& loop, const SettingsStore& settings) {
  QuitsLook look;
  const Home home = settings.home();
  for (const Browser* browser : settings.knownBrowsers()) {
    if (!settings.isEnabled(*browser)) continue;
    look.browsers.push_back({std::string(browser->name), std::string(*browser->words.begin()),
                             hasProgram(*browser, home.folder.path), hasData(*browser, home)});
  }
  look.kernelAnnounces = linux_::ProcessConnector::open(loop, [](pid_t) {}) != nullptr;
  look.canWatchFiles = inotifyHasRoom();
  return look;
}

Findings QuitsLook::findings() const {
  Findings found;
  if (!canWatchFiles) {
    found.push_back({kernelAnnounces ? Grade::kRemark : Grade::kWrong, "quits",
                     localizable("No more files can be watched in this session: starts of browsers may be missed."),
                     command("sysctl fs.inotify.max_user_instances=512 fs.inotify.max_user_watches=524288")});
  }
  for (const OfBrowser& browser : browsers) {
    if (browser.hasProgram) {
      found.push_back({Grade::kGood, "quits", localizable("%@: its quits are seen.", {browser.name}), {}});
    } else if (!browser.hasData) {
      found.push_back({Grade::kRemark, "quits", localizable("%@ is enabled, but is not found here.", {browser.name}),
                       localizable("It is noticed when it is installed. \"tidewell disable %@\" leaves it alone.",
                                   {browser.word})});
    } else if (kernelAnnounces) {
      found.push_back({Grade::kGood,
                       "quits",
                       localizable("%@: its program was not found; the kernel tells when it starts.", {browser.name}),
                       {}});
    } else {
      found.push_back(
          {Grade::kWrong, "quits",
           localizable("%@: its program was not found, so its quits can't be seen.", {browser.name}),
           localizable("Have its program on the search path or in a desktop entry, or run \"tidewell quit-of "
                       "%@\" after it has quit.",
                       {browser.word})});
    }
  }
  return found;
}

}  // namespace tidewell
