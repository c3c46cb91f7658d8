// "tidewell enable", "disable", "allow" and "grants": the browsers that are cleaned, and the folders that are granted.

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
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

class Commands::Consent {
 public:
  Consent(Commands& commands, const Browser& browser) : commands_(commands), browser_(browser) {}

  /// Absent for a question that is not about one of the folders, or that has texts of its own: on homes where "never"
  /// is no answer.
  std::optional<WorkerConnection::PanelAnswer> answerTo(const WorkerConnection::PanelQuestion& question) {
    using platform::ModalResponse;
    if (!question.offersNever || question.enabled.empty()) return std::nullopt;
    if (!answer_) lookWhatIsMissing();
    const auto folder = FileURL::fromString(question.enabled.front());
    if (!folder || std::find(missing_.begin(), missing_.end(), folder->path()) == missing_.end()) return std::nullopt;
    if (!answer_) answer_ = ask();
    switch (*answer_) {
      case Answer::kYes:
        return WorkerConnection::PanelAnswer{ModalResponse::ok, question.enabled.front()};
      case Answer::kNever:
        return WorkerConnection::PanelAnswer{ModalResponse::never, ""};
      case Answer::kNo:
        break;
    }
    return WorkerConnection::PanelAnswer{};
  }

 private:
  void lookWhatIsMissing() {
    missing_ = commands_.settings_.home().layout->foldersToAllow(browser_);
    std::erase_if(missing_, [this](const std::string& folder) {
      return !exists(folder) || commands_.settings_.isGranted(folder);
    });
  }

  Answer ask() {
    std::ostream& output = commands_.output_;
    output << localized("Clean %@ when it quits?", {browser_.name}) << '\n'
           << localized(
                  "What sites have left in it goes: cookies, site data and caches. Bookmarks, passwords, history "
                  "and open tabs stay. For this, these folders are to be allowed:")
           << '\n';
    for (const std::string& folder : missing_) output << "  " << printable(folder) << '\n';
    output << localized("Allow");
    if (!commands_.options_.answerYes) return answerInTerminal(output, true);
    output << ": " << localized("yes") << '\n';
    return Answer::kYes;
  }

  Commands& commands_;
  const Browser& browser_;
  std::vector<std::string> missing_;
  std::optional<Answer> answer_;
};

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
    const auto consent = std::make_shared<Consent>(*this, browser);
    panel = [this, consent](const WorkerConnection::PanelQuestion& question) {
      const auto answer = consent->answerTo(question);
      return answer ? *answer : answerOf(question);
    };
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
