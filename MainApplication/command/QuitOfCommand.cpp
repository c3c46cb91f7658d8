// "tidewell quit-of BROWSER".

#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/ReportText.h"
#include "MainApplication/command/TerminalQuestion.h"
#include "Platform/Linux/processes/LinuxWorkspace.h"
#include "Worker/Cleanings.h"

namespace tidewell {
namespace {

using platform::linux_::RunLoop;

/// Whether the worker sees the browser run. The looks that follow the first one are never taken: they end with the
/// loop.
bool runsNow(const Browser& browser) {
  RunLoop loop;
  platform::linux_::LinuxWorkspace workspace(loop, watchedBrowsers());
  platform::linux_::LinuxWorkspace::Options options;
  options.isWanted = [](const platform::WatchedApplication&) { return false; };
  workspace.start(std::move(options));
  return workspace.isRunning(std::string(browser.bundleIdentifier));
}

/// Why the worker has not cleaned.
std::string reasonOf(const WorkerConnection::Cleaned& cleaned, const Browser& browser) {
  const std::string name(browser.name);
  if (cleaned.errorName == kNotEnabledError) return name + " is not enabled";
  if (cleaned.errorName == kIsRunningError) return name + " is running: quit it, and it is cleaned";
  if (cleaned.errorName == kUnknownBrowserError) return name + " is not cleaned in this home";
  return "the worker has gone; what it has not done is done when it runs again";
}

}  // namespace

bool Commands::isAgreedThoughRunning(const Browser& browser) {
  if (!hasTerminal()) return false;
  output_ << browser.name << " is running. It may lose what it has open, or complain. Clean it all the same?";
  return isAgreedInTerminal(output_);
}

int Commands::quitOf(const std::string& name) {
  const auto found = browsersFor({name});
  if (found.empty()) return kMisused;
  RunLoop loop;
  const auto connection = WorkerConnection::open(loop);
  if (!connection) return fail("there is no session bus: " + connection.error().message());
  if (!(*connection)->isRunning()) return fail("the worker does not run");
  if (!settings_.isEnabled(*found[0])) return fail(std::string(found[0]->name) + " is not enabled");
  const bool isRunning = runsNow(*found[0]);
  if (isRunning && !options_.force && !isAgreedThoughRunning(*found[0])) {
    return fail(std::string(found[0]->name) +
                " is running: quit it, and it is cleaned (--force cleans it all the same)");
  }
  const std::string identifier(found[0]->bundleIdentifier);
  if (!options_.waits) return announceQuit(**connection, *found[0], isRunning);
  if (options_.isTerminal) output_ << "Cleaning " << found[0]->name << "..." << std::endl;
  const auto cleaned = (*connection)->clean(identifier, isRunning, [this](const Report& soFar) {
    if (!options_.isTerminal) return;
    const Outcome sum = soFar.sum();
    output_ << counted(sum.removed, "item", "items") << ", " << readable(sum.bytes)
            << " so far. Once more in 8 seconds, for what it wrote when it quit..." << std::endl;
  });
  if (cleaned.isUnknown) return announceQuit(**connection, *found[0], isRunning);
  if (!cleaned.report) return fail(reasonOf(cleaned, *found[0]));
  if (options_.json) {
    output_ << stateOf(*cleaned.report).dump(2, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
  } else {
    print(*cleaned.report, options_.verbose, output_);
  }
  return cleaned.report->isDone() ? kDone : kFailed;
}

int Commands::announceQuit(WorkerConnection& connection, const Browser& browser, bool isRunning) {
  const bool sent =
      connection.announceQuit(std::string(browser.name), std::string(browser.bundleIdentifier), isRunning);
  return sent ? kDone : fail("the quit could not be announced");
}

}  // namespace tidewell
