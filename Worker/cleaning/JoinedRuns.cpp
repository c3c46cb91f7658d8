#include "Worker/cleaning/JoinedRuns.h"

#include <chrono>
#include <string>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/homes/FolderRequest.h"
#include "Worker/homes/Home.h"

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
  join(browser, {.asks = true, .ifRunning = ifRunning});
  secondRuns_->ask(nameOf(browser), [weak = weak_from_this(), &browser, ifRunning] {
    if (const auto self = weak.lock()) self->join(browser, {.asks = true, .notifies = true, .ifRunning = ifRunning});
  });
}

void JoinedRuns::request(const Browser& browser, platform::Task done) {
  nextRequests_[browser.bundleIdentifier].done.push_back(std::move(done));
  askForTurn(browser);
}

void JoinedRuns::requestForRun(const Browser& browser) {
  nextRequests_[browser.bundleIdentifier].isForRun = true;
  askForTurn(browser);
}

void JoinedRuns::askForTurn(const Browser& browser) {
  requests_->ask(nameOf(browser), beginWith(&JoinedRuns::beginRequest, browser));
}

void JoinedRuns::join(const Browser& browser, const NextRun& wanted) {
  NextRun& next = nextRuns_[browser.bundleIdentifier];
  next.asks |= wanted.asks;
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
  if (!wanted.asks || !lacksFolders(*Home::current().layout, browser)) return;
  Platform::current().dispatch.mainQueue().async(
      [self = shared_from_this(), &browser] { self->requestForRun(browser); });
}

platform::BlockOperation JoinedRuns::beginRequest(const Browser& browser) {
  NextRequest request = std::move(nextRequests_.extract(browser.bundleIdentifier).mapped());
  platform::BlockOperation operation;
  operation.block = [self = shared_from_this(), &browser, isForRun = request.isForRun] {
    self->obtain(browser, isForRun);
  };
  operation.completion = [done = std::move(request.done)] {
    for (const platform::Task& answer : done) answer();
  };
  return operation;
}

void JoinedRuns::obtain(const Browser& browser, bool isForRun) {
  const bool obtainedSome = askForFolders(*Home::current().layout, browser);
  if (!obtainedSome || !isForRun) return;
  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), &browser] { self->join(browser, {}); });
}

}  // namespace tidewell
