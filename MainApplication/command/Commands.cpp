#include "MainApplication/command/Commands.h"

#include <sys/stat.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "MainApplication/client/RunningBrowsers.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/RunningText.h"
#include "MainApplication/command/TerminalQuestion.h"
#include "Platform/FileURL.h"
#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Platform/Path.h"
#include "Platform/PrintableText.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::FileURL;
using platform::printable;
using platform::linux_::RunLoop;

// A worker that has stopped is noticed much sooner, because it no longer answers pings.
constexpr std::chrono::seconds kPatience{3600};       // the user takes time at a panel
constexpr std::chrono::seconds kPatienceForYes{120};  // nobody is asked, but the disk may be busy

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

std::vector<const Browser*> Commands::browsersFor(const std::vector<std::string>& texts) {
  std::vector<const Browser*> found;
  for (const std::string& text : texts) {
    const Browser* browser = browserCalled(text);
    if (browser == nullptr) {
      errors_ << "tidewell: there is no browser \"" << printable(text) << "\"; known are";
      const char* separator = " ";
      for (const Browser* known : settings_.knownBrowsers()) errors_ << std::exchange(separator, ", ") << known->name;
      errors_ << '\n';
      return {};
    }
    found.push_back(browser);
  }
  return found;
}

int Commands::fail(const std::string& why) {
  errors_ << "tidewell: " << printable(why) << '\n';
  return kFailed;
}

int Commands::browsers() {
  if (options_.json) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Browser* browser : settings_.knownBrowsers()) {
      const std::vector<std::string_view> words(browser->words.begin(), browser->words.end());
      list.push_back({{"name", browser->name}, {"identifier", browser->bundleIdentifier}, {"words", words}});
    }
    output_ << list.dump(2) << '\n';
    return kDone;
  }
  for (const Browser* browser : settings_.knownBrowsers()) {
    std::string line(*browser->words.begin());
    if (!options_.onlyWords) {
      line.resize(20, ' ');
      line += browser->name;
      line.resize(40, ' ');
      line += browser->bundleIdentifier;
    }
    output_ << line << '\n';
  }
  return kDone;
}

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

int Commands::enable(const std::vector<std::string>& names) {
  const auto found = browsersFor(names);
  if (found.empty()) return kMisused;
  int status = kDone;
  for (const Browser* browser : found) {
    if (!settings_.setEnabled(*browser, true)) return fail("the settings could not be written");
    status = std::max(status, allowed(*browser));
  }
  return status;
}

int Commands::disable(const std::vector<std::string>& names) {
  const auto found = browsersFor(names);
  if (found.empty()) return kMisused;
  for (const Browser* browser : found) {
    if (!settings_.setEnabled(*browser, false)) return fail("the settings could not be written");
  }
  return kDone;
}

int Commands::allow(const std::vector<std::string>& names) {
  const auto found = browsersFor(names);
  if (found.empty()) return kMisused;
  int status = kDone;
  for (const Browser* browser : found) status = std::max(status, allowed(*browser));
  return status;
}

int Commands::allowed(const Browser& browser) {
  RunLoop loop;
  const auto connection = WorkerConnection::open(loop);
  if (!connection) return fail("there is no session bus: " + connection.error().message());
  const bool hasDisplay = std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
  WorkerConnection::Panel panel;
  if (options_.answerYes || !hasDisplay) {
    if (!options_.answerYes && !hasTerminal()) {
      return fail("there is nobody to ask: neither a display nor a terminal (--yes agrees to all)");
    }
    panel = [this](const WorkerConnection::PanelQuestion& question) { return answerOf(question); };
  }
  const auto answer = (*connection)
                          ->requestAccess(std::string(browser.bundleIdentifier),
                                          options_.answerYes ? kPatienceForYes : kPatience, panel);
  if (!answer) return fail("the worker does not answer; does it run?");
  const bool isEmpty = settings_.allowed(browser) == SettingsStore::Allowed::kNothingThere;
  output_ << browser.name
          << (isEmpty ? ": keeps nothing in this home yet; its folders are asked for when it has run\n"
                      : ": asked for its folders\n");
  return kDone;
}

WorkerConnection::PanelAnswer Commands::answerOf(const WorkerConnection::PanelQuestion& question) {
  using platform::ModalResponse;
  for (const std::string& url : question.enabled) {
    const auto folder = FileURL::fromString(url);
    if (!folder || !exists(folder->path())) continue;
    output_ << printable(question.title) << ": " << printable(question.message) << "\n  " << printable(folder->path());
    if (options_.answerYes) {
      output_ << ": yes\n";
      return {ModalResponse::ok, url};
    }
    const std::string answer = answerInTerminal(output_, question.offersNever ? "y/N/never" : "y/N");
    if (answer == "y" || answer == "yes") return {ModalResponse::ok, url};
    if (answer == "never" && question.offersNever) return {ModalResponse::never, ""};
    return {};
  }
  return {};
}

int Commands::grants() {
  const std::vector<std::string> paths = settings_.grants();
  if (options_.json) {
    output_ << nlohmann::json(paths).dump(2, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
  } else {
    for (const std::string& path : paths) output_ << printable(path) << '\n';
  }
  return kDone;
}

int Commands::revoke(const std::string& folder) {
  std::string path = folder;
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  if (!path.starts_with('/')) {
    errors_ << "tidewell: the folder must be a whole path\n";
    return kMisused;
  }
  const std::size_t count = settings_.revoke(path);
  if (count == 0) return fail("there is no grant of " + path);
  output_ << count << (count == 1 ? " grant" : " grants") << " taken back\n";
  return kDone;
}

int Commands::setFlag(const std::string& key, const std::string& word, const FlagWords& words) {
  if (word != words.on && word != words.off) {
    errors_ << "tidewell: say " << words.on << " or " << words.off << '\n';
    return kMisused;
  }
  return settings_.setFlag(key, word == words.on) ? kDone : fail("the settings could not be written");
}

}  // namespace tidewell
