#include "MainApplication/client/RunningBrowsers.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Linux/processes/ApplicationProcesses.h"
#include "Platform/Linux/processes/ProcessFacts.h"
#include "Platform/Linux/windows/X11Windows.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {
namespace {

namespace linux_ = platform::linux_;

/// Windows with the processes that show them; nothing where they can't be known.
using Windows = std::optional<std::set<pid_t>>;

std::vector<platform::WatchedApplication> applications() {
  std::vector<platform::WatchedApplication> watched = watchedBrowsers();
  for (platform::WatchedApplication& application : watched) {
    for (std::string& place : application.executablePlaces) {
      if (place.starts_with("~/")) place.replace(0, 1, linux_::homeFolder());
    }
  }
  return watched;
}

/// Whether all windows that the process can have are on the screen that was looked at.
bool showsAllHere(pid_t pid) {
  const char* display = std::getenv("DISPLAY");
  return display != nullptr && linux_::environmentOfProcess(pid, "DISPLAY") == display &&
         !linux_::environmentOfProcess(pid, "WAYLAND_DISPLAY") && linux_::hasOwnNumber(pid);
}

std::optional<bool> haveWindow(const std::vector<pid_t>& processes, const Windows& windows) {
  if (!windows) return std::nullopt;
  const auto hasWindow = [&](pid_t pid) { return windows->contains(pid) && linux_::hasOwnNumber(pid); };
  if (std::any_of(processes.begin(), processes.end(), hasWindow)) return true;
  return std::all_of(processes.begin(), processes.end(), showsAllHere) ? std::optional(false) : std::nullopt;
}

}  // namespace

std::map<std::string_view, RunningBrowser> runningBrowsers() {
  const std::vector<platform::WatchedApplication> watched = applications();
  linux_::PathWatch::Interests unused;
  const auto programs = linux_::findExecutables(watched, linux_::SearchPlaces::fromEnvironment(), unused);
  const linux_::ApplicationProcesses::Found found = linux_::ApplicationProcesses(watched, programs).look();
  std::map<std::string_view, RunningBrowser> running;
  std::optional<Windows> windows;  // looked for only if a browser runs
  for (std::size_t index = 0; index < found.size(); ++index) {
    const std::vector<pid_t>& processes = found[index].mains;
    std::optional<std::chrono::system_clock::time_point> since;
    for (const pid_t pid : processes) {
      const auto start = linux_::startOfProcess(pid);
      if (start && (!since || *start < *since)) since = start;
    }
    if (!since) continue;
    if (!windows) windows = linux_::processesWithWindows();
    running.emplace(browsers()[index].bundleIdentifier, RunningBrowser{*since, haveWindow(processes, *windows)});
  }
  return running;
}

}  // namespace tidewell
