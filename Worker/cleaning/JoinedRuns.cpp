#include "Worker/cleaning/JoinedRuns.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/browsers/EnabledBrowsers.h"
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

std::shared_ptr<JoinedRuns> JoinedRuns::create(Clean clean, OnBrowser notify) {
  return std::shared_ptr<JoinedRuns>(new JoinedRuns(std::move(clean), std::move(notify)));
}

JoinedRuns::JoinedRuns(Clean clean, OnBrowser notify)
    : clean_(std::move(clean)), notify_(std::move(notify)), secondRuns_(LaterTurns::create(kSecondRunDelay)) {}

void JoinedRuns::quit(const Browser& browser, IfRunning ifRunning) {
  const Occasion quit = lastQuits_[browser.bundleIdentifier] = questions_.newOccasion();
  join(browser, {.quit = quit, .ifRunning = ifRunning});
  secondRuns_->ask(nameOf(browser), [weak = weak_from_this(), &browser, ifRunning] {
    const auto self = weak.lock();
    if (!self) return;
    const Occasion last = self->lastQuits_.at(browser.bundleIdentifier);
    self->join(browser, {.quit = last, .notifies = true, .ifRunning = ifRunning});
  });
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

void JoinedRuns::askForTurn(const Browser& browser) {
  requests_->ask(nameOf(browser), beginWith(&JoinedRuns::beginRequest, browser));
}

void JoinedRuns::join(const Browser& browser, const NextRun& wanted) {
  NextRun& next = nextRuns_[browser.bundleIdentifier];
  next.quit = std::max(next.quit, wanted.quit);
  next.notifies |= wanted.notifies;
  if (wanted.ifRunning == IfRunning::kIsCleaned) next.ifRunning = IfRunning::kIsCleaned;
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
  const NextRun wanted = nextRuns_.extract(browser.bundleIdentifier).mapped();
  platform::BlockOperation operation;
  operation.block = [self = shared_from_this(), &browser, wanted] { self->run(browser, wanted); };
  if (wanted.notifies) operation.completion = [self = shared_from_this(), &browser] { self->notify_(browser); };
  return operation;
}

void JoinedRuns::run(const Browser& browser, const NextRun& wanted) {
  if (wanted.ifRunning == IfRunning::kIsSpared && isSparedNow(browser)) return;
  clean_(browser, wanted.ifRunning);
  if (wanted.quit == 0) return;
  const std::vector<std::string> missing = questions_.missing(*Home::current().layout, browser, {wanted.quit});
  if (missing.empty()) return;
  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), &browser, quit = wanted.quit, missing] {
    self->requestForRun(browser, quit, {missing.begin(), missing.end()});
  });
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
