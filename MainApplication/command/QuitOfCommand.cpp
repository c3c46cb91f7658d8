// "tidewell quit-of BROWSER".

#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/ReportText.h"
#include "MainApplication/command/TerminalQuestion.h"
#include "MainApplication/command/Texts.h"
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

}  // namespace

std::string Commands::reasonFor(const std::string& errorName, const Browser& browser) {
  if (errorName == kNotEnabledError) {
    return localized("%@ is not enabled: \"tidewell enable %@\" does that", {browser.name, *browser.words.begin()});
  }
  if (errorName == kIsRunningError) {
    return localized("%@ is running: quit it, and it is cleaned (--force cleans it all the same)", {browser.name});
  }
  if (errorName == kUnknownBrowserError) {
    return localized("%@ is not cleaned in this home: \"tidewell browsers\" lists those that are", {browser.name});
  }
  return localized("the worker has gone; what it has not done is done when it runs again");
}

bool Commands::isAgreedThoughRunning(const Browser& browser) {
  if (!hasTerminal()) return false;
  output_ << localized("%@ is running. It may lose what it has open, or complain. Clean it all the same?",
                       {browser.name});
  return answerInTerminal(output_) == Answer::kYes;
}

int Commands::quitOf(const std::string& name) {
  const auto found = browsersFor({name});
  if (found.empty()) return kMisused;
  const Browser& browser = *found[0];
  RunLoop loop;
  const auto connection = worker(loop);
  if (!connection) return kFailed;
  if (!settings_.isEnabled(browser)) return fail(reasonFor(kNotEnabledError, browser));
  const bool isRunning = runsNow(browser);
  if (isRunning && !options_.force && !isAgreedThoughRunning(browser)) {
    return fail(reasonFor(kIsRunningError, browser));
  }
  if (!options_.waits) return announceQuit(*connection, browser, isRunning);
  const bool isTold = options_.screen.isTerminal && !options_.json;
  if (isTold) output_ << localized("Cleaning %@…", {browser.name}) << std::endl;
  const auto progress = [&](const Report& soFar) {
    if (!isTold) return;
    const Outcome sum = soFar.sum();
    output_ << localized("%@, %@ so far. Once more in 8 seconds, for what it wrote when it quit…",
                         {countedItems(sum.removed), readable(sum.bytes)})
            << std::endl;
  };
  const auto cleaned = connection->clean(std::string(browser.bundleIdentifier), isRunning, progress);
  if (cleaned.isUnknown) return announceQuit(*connection, browser, isRunning);
  if (!cleaned.report) return fail(reasonFor(cleaned.errorName, browser));
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
  if (!sent) return fail(localized("the quit could not be announced: \"tidewell doctor\" looks for the cause"));
  return options_.json ? kDone : done(localized("The worker was told that %@ has quit, and cleans.", {browser.name}));
}

}  // namespace tidewell
