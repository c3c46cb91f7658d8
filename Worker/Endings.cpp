// What happens when a browser starts, when the worker starts, and when the session ends.

#include <algorithm>
#include <chrono>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/browsers/EnabledBrowsers.h"
#include "Worker/cleaning/OwedCleanings.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr std::chrono::seconds kLongestWaitForBrowsers{20};

}  // namespace

void WorkerAppDelegate::applicationRuns(const std::string& bundleIdentifier, bool isNews) {
  const Browser* browser = browserWithIdentifier(bundleIdentifier);
  if (browser == nullptr || !joinsRuns()) return;
  if (isDisabled(*browser)) {
    OwedCleanings::forget(*browser);
  } else if (isNews) {
    OwedCleanings::note(*browser);
  } else {
    OwedCleanings::noteUnlessNoted(*browser);
  }
}

void WorkerAppDelegate::cleanWhatIsOwed() {
  if (!joinsRuns()) return;
  for (const Browser* browser : OwedCleanings::owed()) {
    if (isDisabled(*browser)) {
      OwedCleanings::forget(*browser);
    } else if (isEnabled(*browser) &&
               !Platform::current().workspace.isRunning(std::string(browser->bundleIdentifier))) {
      joinedRuns_->catchUp(*browser);
    }
  }
}

/// What held a store of the browser has ended.
void WorkerAppDelegate::tryAgain(const Browser& browser) {
  if (!sessionEnded_ && joinsRuns() && checkIfBrowserEnabled(std::string(browser.name))) joinedRuns_->catchUp(browser);
}

std::vector<const Browser*> WorkerAppDelegate::enabledOnesThatRun() {
  std::vector<const Browser*> running;
  for (const Browser& browser : browsers()) {
    if (checkIfBrowserEnabled(std::string(browser.name)) &&
        Platform::current().workspace.isRunning(std::string(browser.bundleIdentifier))) {
      running.push_back(&browser);
    }
  }
  return running;
}

void WorkerAppDelegate::sessionEnds(platform::Task done) {
  if (sessionEnded_) return;
  if (!joinsRuns()) return done();
  sessionEnded_ = std::move(done);
  joinedRuns_->sessionEnds();
  for (const Browser* browser : OwedCleanings::owed()) {  // one that has ended just now, and is not known to have quit
    const bool runs = Platform::current().workspace.isRunning(std::string(browser->bundleIdentifier));
    if (!runs && checkIfBrowserEnabled(std::string(browser->name))) {
      joinedRuns_->quit(*browser, Cause::kLogOut, IfRunning::kIsSpared);
    }
  }
  const std::weak_ptr<WorkerAppDelegate> weak = weak_from_this();
  joinedRuns_->setRunEndHandler([weak] {
    if (const auto self = weak.lock()) self->endSessionWhenDone();
  });
  platform::Dispatch& dispatch = Platform::current().dispatch;
  dispatch.after(kLongestWaitForBrowsers, dispatch.mainQueue(), [weak] {
    const auto self = weak.lock();
    if (!self) return;
    self->waitsForBrowsers_ = false;  // one that is not cleaned now is owed its cleaning
    self->endSessionWhenDone();
  });
  endSessionWhenDone();
}

void WorkerAppDelegate::endSessionWhenDone() {
  if (!sessionEnded_ || !joinedRuns_->isIdle()) return;
  if (waitsForBrowsers_ && !enabledOnesThatRun().empty()) return;
  std::exchange(sessionEnded_, nullptr)();
}

}  // namespace tidewell
