// "tidewell enable", "disable", "allow" and "grants": the browsers that are cleaned, and the folders that are granted.

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/TerminalQuestion.h"
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

}  // namespace tidewell
