// "tidewell status".

#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/client/RunningBrowsers.h"
#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/RunningText.h"
#include "MainApplication/command/Texts.h"
#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Platform/PrintableText.h"
#include "Worker/Identity.h"

namespace tidewell {

/// What there is to say of one browser.
struct BrowserStatus {
  const Browser* browser = nullptr;
  bool isInstalled = false;
  bool isEnabled = false;
  bool isAllowed = false;                 // all of it
  std::vector<std::string> folders = {};  // of its installations, as whole paths; those that there are
  std::vector<std::string> neverAsked = {};
  std::optional<RunningBrowser> running = {};
  bool isOwed = false;
  std::optional<platform::Date> lastCleaned = {};

  /// Whether a person would look for it: others are named in one line.
  bool isHere() const { return isInstalled || isEnabled || isOwed || running || !folders.empty(); }
};

namespace {

using nlohmann::ordered_json;
using platform::printable;
using platform::linux_::RunLoop;
using Colour = Screen::Colour;

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

std::vector<std::string> foldersOf(const Browser& browser, const Home& home) {
  std::vector<std::string> folders;
  for (const Installation& installation : home.layout->installationsOf(browser)) {
    const std::string& place = installation.dataFolder;
    const std::string folder = place.starts_with('~') ? home.folder.path + place.substr(1) : place;
    if (exists(folder)) folders.push_back(folder);
  }
  return folders;
}

ordered_json stateOf(const BrowserStatus& status) {
  const Browser& browser = *status.browser;
  ordered_json state = {{"name", browser.name},
                        {"identifier", browser.bundleIdentifier},
                        {"installed", status.isInstalled},
                        {"enabled", status.isEnabled},
                        {"allowed", status.isAllowed},
                        {"data", status.folders.empty() ? "" : status.folders[0]},
                        {"folders", status.folders},
                        {"neverAsked", status.neverAsked},
                        {"running", nullptr},
                        {"owed", status.isOwed},
                        {"lastCleaned", nullptr}};
  if (status.lastCleaned) state["lastCleaned"] = timeForPrograms(*status.lastCleaned);
  if (status.running) state["running"] = runningState(*status.running);
  return state;
}

/// The number of kept sites; absent when the list can't be read.
std::optional<std::size_t> countOf(const std::optional<std::vector<std::string>>& list) {
  return list && !KeptSites::of(*list).isUnknown() ? std::optional(list->size()) : std::nullopt;
}

Table::Cell cellFor(bool isYes, Colour colourOfNo) {
  return {isYes ? localized("yes") : localized("no"), isYes ? Colour::kGood : colourOfNo};
}

}  // namespace

std::vector<BrowserStatus> Commands::browserStatuses(const Home& home) const {
  const auto running = runningBrowsers();
  const std::vector<Report> reports = settings_.history();
  std::vector<BrowserStatus> statuses;
  for (const Browser* known : settings_.knownBrowsers()) {
    const Browser& browser = *known;
    const std::vector<std::string> needed = home.layout->foldersToAllow(browser);
    BrowserStatus status{&browser};
    status.isInstalled = isInstalled(browser);
    status.isEnabled = settings_.isEnabled(browser);
    status.isAllowed = !needed.empty() && std::all_of(needed.begin(), needed.end(), [this](const auto& folder) {
      return settings_.isGranted(folder);
    });
    status.folders = foldersOf(browser, home);
    status.neverAsked = settings_.neverAsked(browser);
    status.isOwed = settings_.isOwed(browser);
    for (const Report& report : reports) {
      if (report.browser != browser.bundleIdentifier || report.runs.empty()) continue;
      status.lastCleaned = report.runs.back().ended;
    }
    const auto found = running.find(browser.bundleIdentifier);
    if (found != running.end()) status.running = found->second;
    statuses.push_back(std::move(status));
  }
  return statuses;
}

int Commands::status() {
  RunLoop loop;
  const auto connection = WorkerConnection::open(loop);
  const bool isRunning = connection && (*connection)->isRunning();
  const Home home = settings_.home();
  const std::vector<BrowserStatus> browsers = browserStatuses(home);
  if (!options_.json) {
    printSwitches(isRunning, home);
    printBrowsers(browsers, isRunning, home);
    return kDone;
  }
  ordered_json state = {{"workerRunning", isRunning},
                        {"homeLayout", home.layout->name()},
                        {"notifications", settings_.flag(kDisplayNotificationsKey)},
                        {"overwrite", settings_.flag(kSecureDeleteDataKey)},
                        {"keepSiteSettings", home.kept.siteSettings},
                        {"keptSites", nullptr},
                        {"browsers", ordered_json::array()}};
  if (const auto count = countOf(settings_.keptSites())) state["keptSites"] = *count;
  for (const BrowserStatus& browser : browsers) state["browsers"].push_back(stateOf(browser));
  output_ << state.dump(2, ' ', true, ordered_json::error_handler_t::replace) << '\n';
  return kDone;
}

void Commands::printSwitches(bool isRunning, const Home& home) {
  const Screen& screen = options_.screen;
  const auto onOrOff = [](bool isOn) { return isOn ? localized("on") : localized("off"); };
  if (isRunning) {
    screen.print(localized("The worker is running."), output_, 0, Colour::kGood);
  } else {
    screen.print(localized("The worker is not running: \"systemctl --user start tidewell-worker\" starts it."), output_,
                 0, Colour::kBad);
  }
  screen.print(localized("Notifications: %@", {onOrOff(settings_.flag(kDisplayNotificationsKey))}), output_);
  screen.print(localized("Overwriting: %@", {onOrOff(settings_.flag(kSecureDeleteDataKey))}), output_);
  screen.print(
      localized("Site settings: %@", {home.kept.siteSettings ? localized("are kept") : localized("are removed")}),
      output_);
  const auto count = countOf(settings_.keptSites());
  if (!count) {
    screen.print(localized("The list of kept sites can't be read: all stays that may be theirs."), output_, 0,
                 Colour::kBad);
  } else if (*count != 0) {
    screen.print(localized("Kept sites: %@", {std::to_string(*count)}), output_);
  }
  output_ << '\n';
}

void Commands::printBrowsers(const std::vector<BrowserStatus>& browsers, bool isRunning, const Home& home) {
  Table table({localized("Browser"), localized("Installed"), localized("Enabled"), localized("Allowed"),
               localized("Last cleaned")});
  std::string others;
  for (const BrowserStatus& status : browsers) {
    if (!status.isHere()) {
      if (!home.layout->mayHave(*status.browser)) continue;
      others += (others.empty() ? "" : ", ") + std::string(status.browser->name);
      continue;
    }
    table.addRow({{std::string(status.browser->name)},
                  cellFor(status.isInstalled, Colour::kQuiet),
                  cellFor(status.isEnabled, Colour::kQuiet),
                  cellFor(status.isAllowed, status.isEnabled ? Colour::kBad : Colour::kQuiet),
                  {status.lastCleaned ? localTime(*status.lastCleaned) : "-"}});
    for (const std::string& folder : status.folders) table.addPath(printable(folder));
    for (const std::string& folder : status.neverAsked) {
      table.addNote({localized("never asked for: %@", {printable(folder)}), Colour::kDoubtful});
    }
    if (status.running) {
      table.addNote({runningText(*status.running)});
    } else if (status.isOwed) {
      table.addNote({isRunning ? localized("is owed a cleaning")
                               : localized("is owed a cleaning, which comes when the worker starts"),
                     Colour::kDoubtful});
    }
  }
  if (!table.isEmpty()) table.print(options_.screen, output_);
  if (!others.empty()) {
    if (!table.isEmpty()) output_ << '\n';
    options_.screen.print(localized("Not found here: %@", {others}), output_, 0, Colour::kQuiet);
  }
}

}  // namespace tidewell
