#include "Worker/cleaning/HeldStores.h"

#include <algorithm>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {

std::vector<int> HeldStores::holdersOf(const Report& report) {
  std::vector<int> holders;
  if (report.isSpared) return holders;
  for (const std::string& file : report.held) {
    const auto holder = GrantedFiles::lockHolder(file);
    if (holder && std::find(holders.begin(), holders.end(), *holder) == holders.end()) holders.push_back(*holder);
  }
  return holders;
}

void HeldStores::cleaned(const Browser& browser, Cause cause, const std::vector<int>& holders) {
  Wait wait;
  if (cause == Cause::kOwed) wait.tries = waits_[browser.bundleIdentifier].tries;
  waits_.erase(browser.bundleIdentifier);
  if (wait.tries >= kMostTries) return;
  ++wait.tries;
  for (const int holder : holders) {
    wait.watch = platform::Platform::current().workspace.watchProcess(holder, [this, &browser] {
      waits_[browser.bundleIdentifier].watch.reset();
      tryAgain_(browser);
    });
    if (!wait.watch) continue;
    waits_[browser.bundleIdentifier] = std::move(wait);
    return;
  }
}

}  // namespace tidewell
