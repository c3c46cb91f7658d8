// "tidewell enable", "disable", "allow" and "grants": the browsers that are cleaned, and the folders that are granted.

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/TerminalQuestion.h"
#include "MainApplication/command/Texts.h"
#include "Platform/FileURL.h"
#include "Platform/PrintableText.h"

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

}  // namespace

int Commands::enable(const std::vector<std::string>& names) {
  const auto found = browsersFor(names);
  if (found.empty()) return kMisused;
  int status = kDone;
  for (const Browser* browser : found) {
    if (!settings_.setEnabled(*browser, true)) return failToWrite();
    done(localized("%@ is cleaned when it quits.", {browser->name}));
    status = std::max(status, allowed(*browser));
  }
  return status;
}

int Commands::disable(const std::vector<std::string>& names) {
  const auto found = browsersFor(names);
  if (found.empty()) return kMisused;
  for (const Browser* browser : found) {
    if (!settings_.setEnabled(*browser, false)) return failToWrite();
    done(localized("%@ is left alone. What was allowed stays allowed.", {browser->name}));
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
  const auto connection = worker(loop);
  if (!connection) return kFailed;
  const bool hasDisplay = std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
  WorkerConnection::Panel panel;
  if (options_.answerYes || !hasDisplay) {
    if (!options_.answerYes && !hasTerminal()) {
      return fail(localized("there is nobody to ask, neither a display nor a terminal: --yes agrees to every folder"));
    }
    panel = [this](const WorkerConnection::PanelQuestion& question) { return answerOf(question); };
  }
  const auto answer = connection->requestAccess(std::string(browser.bundleIdentifier),
                                                options_.answerYes ? kPatienceForYes : kPatience, panel);
  if (!answer) {
    return fail(localized(
        "the worker does not answer: \"systemctl --user restart tidewell-worker\" starts it anew, or see \"tidewell "
        "doctor\""));
  }
  return tellAllowed(browser);
}

int Commands::tellAllowed(const Browser& browser) {
  using Allowed = SettingsStore::Allowed;
  const Home home = settings_.home();
  if (settings_.allowed(browser) == Allowed::kNothingThere) {
    return done(
        localized("%@: keeps nothing in this home yet; its folders are asked for when it has run", {browser.name}));
  }
  int status = kDone;
  for (const std::string& folder : home.layout->foldersToAllow(browser)) {
    if (settings_.isGranted(folder)) continue;
    status = fail(localized("%@ is not allowed, and is left as it is: \"tidewell allow %@\" asks again",
                            {folder, *browser.words.begin()}));
  }
  return status == kDone ? done(localized("%@: its folders are allowed.", {browser.name})) : status;
}

WorkerConnection::PanelAnswer Commands::answerOf(const WorkerConnection::PanelQuestion& question) {
  using platform::ModalResponse;
  for (const std::string& url : question.enabled) {
    const auto folder = FileURL::fromString(url);
    if (!folder || !exists(folder->path())) continue;
    output_ << printable(question.title) << ": " << printable(question.message) << "\n  " << printable(folder->path());
    if (options_.answerYes) {
      output_ << ": " << localized("yes") << '\n';
      return {ModalResponse::ok, url};
    }
    switch (answerInTerminal(output_, question.offersNever)) {
      case Answer::kYes:
        return {ModalResponse::ok, url};
      case Answer::kNever:
        return {ModalResponse::never, ""};
      case Answer::kNo:
        return {};
    }
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
    return misused(localized("the folder must be a whole path: \"tidewell grants\" lists those that are allowed"));
  }
  const std::size_t count = settings_.revoke(path);
  if (count == 0) {
    return fail(localized("there is no grant of %@: \"tidewell grants\" lists those that there are", {path}));
  }
  return done(localizedPlural("%@ grant taken back", "%@ grants taken back", count));
}

}  // namespace tidewell
