#include "Worker/cleaning/JoinedRuns.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/browsers/EnabledBrowsers.h"
#include "Worker/cleaning/OwedCleanings.h"
#include "Worker/homes/Home.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr std::chrono::seconds kSecondRunDelay{8};

std::string nameOf(const Browser& browser) {
  return std::string(browser.bundleIdentifier);
}

/// Whether the browser has been started again since it quit: cleaning now would remove data that it has open. It is
/// cleaned when it quits again.
bool isSparedNow(const Browser& browser) {
  return Home::current().layout->sparesRunningBrowsers() && Platform::current().workspace.isRunning(nameOf(browser));
}

}  // namespace

std::shared_ptr<JoinedRuns> JoinedRuns::create(Clean clean, Ended ended) {
  return std::shared_ptr<JoinedRuns>(new JoinedRuns(std::move(clean), std::move(ended)));
}

JoinedRuns::JoinedRuns(Clean clean, Ended ended)
    : clean_(std::move(clean)), ended_(std::move(ended)), secondRuns_(LaterTurns::create(kSecondRunDelay)) {}

void JoinedRuns::quit(const Browser& browser, Cause cause, IfRunning ifRunning, Done done) {
  if (done) waiting_[browser.bundleIdentifier].push_back(std::move(done));
  const Occasion quit = lastQuits_[browser.bundleIdentifier] = questions_.newOccasion();
  const NextRun second{.notifies = true, .ifRunning = ifRunning, .cause = cause};
  if (sessionEnds_) return join(browser, second);
  join(browser, {.quit = quit, .ifRunning = ifRunning, .cause = cause});
  secondRuns_->ask(nameOf(browser), [weak = weak_from_this(), &browser, second] {
    const auto self = weak.lock();
    if (!self) return;
    NextRun last = second;
    last.quit = self->lastQuits_.at(browser.bundleIdentifier);
    self->join(browser, last);
  });
}

void JoinedRuns::catchUp(const Browser& browser) {
  join(browser, {.cause = Cause::kOwed});
}

void JoinedRuns::sessionEnds() {
  sessionEnds_ = true;
  questions_.stop();
  secondRuns_->comeNow();
}

void JoinedRuns::request(const Browser& browser, platform::Task done) {
  NextRequest& next = nextRequests_[browser.bundleIdentifier];
  next.done.push_back(std::move(done));
  next.cause = {questions_.newOccasion(), true};
  askForTurn(browser);
}

void JoinedRuns::requestForRun(const Browser& browser, Occasion quit, const std::set<std::string>& lacking) {
  NextRequest& next = nextRequests_[browser.bundleIdentifier];
  next.cause.occasion = std::max(next.cause.occasion, quit);
  next.lacking.insert(lacking.begin(), lacking.end());
  askForTurn(browser);
}

void JoinedRuns::askAgain(const Browser& browser) {
  if (sessionEnds_) return;
  const Occasion occasion = questions_.newOccasion();
  const std::vector<std::string> missing = questions_.missing(*Home::current().layout, browser, {occasion});
  if (!missing.empty()) requestForRun(browser, occasion, {missing.begin(), missing.end()});
}

bool JoinedRuns::hasFoldersToAskFor(const Browser& browser) const {
  const FolderQuestions::Cause anew{.occasion = std::numeric_limits<Occasion>::max()};
  return !questions_.missing(*Home::current().layout, browser, anew).empty();
}

void JoinedRuns::askForTurn(const Browser& browser) {
  requests_->ask(nameOf(browser), beginWith(&JoinedRuns::beginRequest, browser));
}

void JoinedRuns::join(const Browser& browser, const NextRun& wanted) {
  NextRun& next = nextRuns_[browser.bundleIdentifier];
  next.quit = std::max(next.quit, wanted.quit);
  next.notifies |= wanted.notifies;
  if (wanted.ifRunning == IfRunning::kIsCleaned) next.ifRunning = IfRunning::kIsCleaned;
  next.cause = std::min(next.cause, wanted.cause);  // a quit says more than a permission
  runs_->ask(nameOf(browser), beginWith(&JoinedRuns::beginRun, browser));
}

/// Holds nothing alive: what waits for its turn belongs to this object.
Turns::Begin JoinedRuns::beginWith(Operation operation, const Browser& browser) {
  return [weak = weak_from_this(), operation, &browser] {
    const auto self = weak.lock();
    return self ? (self.get()->*operation)(browser) : platform::BlockOperation{[] {}, nullptr};
  };
}

platform::BlockOperation JoinedRuns::beginRun(const Browser& browser) {
  NextRun wanted = nextRuns_.extract(browser.bundleIdentifier).mapped();
  wanted.isLast = wanted.notifies || !secondRuns_->isToCome(nameOf(browser));
  if (sessionEnds_) wanted.quit = 0;
  // Whoever has asked by now is served by this run: if it is not their own last one, that one has nothing left to do.
  if (wanted.notifies) wanted.done = std::exchange(waiting_[browser.bundleIdentifier], {});
  return {[self = shared_from_this(), &browser, wanted] { self->run(browser, wanted); }, nullptr};
}

void JoinedRuns::run(const Browser& browser, const NextRun& wanted) {
  const Report report = joinedWithEarlier(browser, cleaned(browser, wanted), wanted.isLast);
  if (wanted.isLast) {
    // The notice after the quit said of a folder that is allowed later that it was not cleaned.
    const bool isGoodNews = wanted.cause == Cause::kPermission && report.sum().removed > 0;
    ended_(browser, report, wanted.notifies || isGoodNews);
  } else if (betweenRuns_) {
    betweenRuns_(browser, report);
  }
  for (const Done& done : wanted.done) done(report);
  if (wanted.quit == 0 || report.isSpared) return;
  const std::vector<std::string> missing = questions_.missing(*Home::current().layout, browser, {wanted.quit});
  if (missing.empty()) return;
  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), &browser, quit = wanted.quit, missing] {
    self->requestForRun(browser, quit, {missing.begin(), missing.end()});
  });
}

Report JoinedRuns::cleaned(const Browser& browser, const NextRun& wanted) {
  if (wanted.ifRunning == IfRunning::kIsSpared && isSparedNow(browser)) {
    return {.browser = nameOf(browser), .cause = wanted.cause, .isSpared = true};
  }
  const auto cutOff = isFirstOfQuit(browser) ? OwedCleanings::runBegins(browser) : std::nullopt;
  Report report = clean_(browser, wanted.ifRunning);
  report.cause = wanted.cause;
  if (cutOff) report.runs.insert(report.runs.begin(), {.begun = *cutOff, .ended = Report::Run::kCutOff});
  return report;
}

/// Whether no run came before this one for the same quit, or the same other reason.
bool JoinedRuns::isFirstOfQuit(const Browser& browser) {
  const std::lock_guard lock(mutex_);
  return !reports_.contains(browser.bundleIdentifier);
}

/// What the runs for one quit have done so far.
Report JoinedRuns::joinedWithEarlier(const Browser& browser, Report report, bool isLast) {
  const std::lock_guard lock(mutex_);
  if (auto earlier = reports_.extract(browser.bundleIdentifier)) {
    earlier.mapped().add(report);
    report = std::move(earlier.mapped());
  }
  if (!isLast) reports_[browser.bundleIdentifier] = report;
  return report;
}

platform::BlockOperation JoinedRuns::beginRequest(const Browser& browser) {
  NextRequest request = std::move(nextRequests_.extract(browser.bundleIdentifier).mapped());
  platform::BlockOperation operation;
  operation.block = [self = shared_from_this(), &browser, cause = request.cause, lacking = request.lacking] {
    self->obtain(browser, cause, lacking);
  };
  operation.completion = [done = std::move(request.done)] {
    for (const platform::Task& answer : done) answer();
  };
  return operation;
}

void JoinedRuns::obtain(const Browser& browser, const FolderQuestions::Cause& cause,
                        const std::set<std::string>& lacking) {
  questions_.ask(*Home::current().layout, browser, cause);
  const bool hasMore = std::any_of(lacking.begin(), lacking.end(), GrantedFiles::isGranted);
  if (!hasMore || !isEnabled(browser)) return;
  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), &browser] { self->join(browser, {}); });
}

}  // namespace tidewell
