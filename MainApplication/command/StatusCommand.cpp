// "tidewell status".

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/client/RunningBrowsers.h"
#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/RunningText.h"
#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Platform/PrintableText.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::printable;
using platform::linux_::RunLoop;

bool exists(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

bool isInstalled(const Browser& browser) {
  platform::linux_::PathWatch::Interests unused;
  const auto found =
      platform::linux_::findExecutables({watched(browser)}, platform::linux_::SearchPlaces::fromEnvironment(), unused);
  return !found[0].programs.empty() || !found[0].scripts.empty();
}

}  // namespace

int Commands::status() {
  RunLoop loop;
  const auto connection = WorkerConnection::open(loop);
  const bool isRunning = connection && (*connection)->isRunning();
  const Home home = settings_.home();
  nlohmann::ordered_json state = {{"workerRunning", isRunning},
                                  {"homeLayout", home.layout->name()},
                                  {"notifications", settings_.flag(kDisplayNotificationsKey)},
                                  {"overwrite", settings_.flag(kSecureDeleteDataKey)},
                                  {"keepSiteSettings", home.kept.siteSettings},
                                  {"keptSites", nullptr},
                                  {"browsers", nlohmann::ordered_json::array()}};
  const auto keptSites = settings_.keptSites();
  if (keptSites && !KeptSites::of(*keptSites).isUnknown()) state["keptSites"] = keptSites->size();
  const auto running = runningBrowsers();
  const std::vector<Report> reports = settings_.history();
  std::map<std::string, std::string> lastCleanings;  // local times, by the browser's identifier
  for (const Browser* known : settings_.knownBrowsers()) {
    const Browser& browser = *known;
    nlohmann::json folders = nlohmann::json::array();  // of all installations, with "~" replaced
    for (const Installation& installation : home.layout->installationsOf(browser)) {
      const std::string& place = installation.dataFolder;
      const std::string folder = place.starts_with('~') ? home.folder.path + place.substr(1) : place;
      if (exists(folder)) folders.push_back(folder);
    }
    const std::vector<std::string> needed = home.layout->foldersToAllow(browser);
    const bool isAllowed = !needed.empty() && std::all_of(needed.begin(), needed.end(), [this](const auto& folder) {
      return settings_.isGranted(folder);
    });
    state["browsers"].push_back({{"name", browser.name},
                                 {"identifier", browser.bundleIdentifier},
                                 {"installed", isInstalled(browser)},
                                 {"enabled", settings_.isEnabled(browser)},
                                 {"allowed", isAllowed},
                                 {"data", folders.empty() ? "" : folders[0]},
                                 {"folders", folders},
                                 {"neverAsked", settings_.neverAsked(browser)},
                                 {"running", nullptr},
                                 {"owed", settings_.isOwed(browser)},
                                 {"lastCleaned", nullptr}});
    for (const Report& report : reports) {
      if (report.browser != browser.bundleIdentifier || report.runs.empty()) continue;
      state["browsers"].back()["lastCleaned"] = timeForPrograms(report.runs.back().ended);
      lastCleanings[report.browser] = localTime(report.runs.back().ended);
    }
    const auto found = running.find(browser.bundleIdentifier);
    if (found != running.end()) state["browsers"].back()["running"] = runningState(found->second);
  }
  if (options_.json) {
    output_ << state.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    return kDone;
  }
  const auto word = [](bool yes, const char* text) { return yes ? text : "-"; };
  output_ << "worker: " << (isRunning ? "running" : "not running")
          << "   notifications: " << (state["notifications"] ? "on" : "off")
          << "   overwrite: " << (state["overwrite"] ? "on" : "off")
          << "   site settings: " << (state["keepSiteSettings"] ? "kept" : "removed");
  if (state["keptSites"].is_null()) {
    output_ << "   kept sites: the list can't be read";
  } else if (state["keptSites"] != 0) {
    output_ << "   kept sites: " << state["keptSites"];
  }
  output_ << "\n\n";
  std::size_t width = 15;
  for (const Browser* browser : settings_.knownBrowsers()) width = std::max(width, browser->name.size() + 1);
  for (const auto& browser : state["browsers"]) {
    std::string name = browser["name"];
    name.resize(width, ' ');
    std::string marks = std::string(word(browser["installed"], "installed")) + std::string(1, ' ');
    marks.resize(11, ' ');
    marks += word(browser["enabled"], "enabled");
    marks.resize(20, ' ');
    marks += word(browser["allowed"], "allowed");
    marks.resize(29, ' ');
    output_ << name << marks << printable(std::string(browser["data"])) << '\n';
    const std::string indent(name.size() + marks.size(), ' ');
    for (std::size_t other = 1; other < browser["folders"].size(); ++other) {
      output_ << indent << printable(std::string(browser["folders"][other])) << '\n';
    }
    for (const std::string folder : browser["neverAsked"]) {
      output_ << indent << "never asked for: " << printable(folder) << '\n';
    }
    if (!browser["lastCleaned"].is_null()) {
      output_ << indent << "cleaned last " << lastCleanings.at(std::string(browser["identifier"])) << '\n';
    }
    const auto found = running.find(std::string(browser["identifier"]));
    if (found != running.end()) {
      output_ << indent << runningText(found->second) << '\n';
    } else if (browser["owed"]) {
      output_ << indent << "is owed a cleaning" << (isRunning ? "\n" : ", which comes when the worker starts\n");
    }
  }
  return kDone;
}

}  // namespace tidewell
