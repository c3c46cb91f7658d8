// Stores that other programs held when their browser was cleaned: tried again when the holder ends.
//
// For each browser one process is waited for, of those that hold locks on its stores; nothing polls. A browser that is
// tried again and again in vain is left after some tries, until it quits the next time. Main thread, but for
// holdersOf().
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "Platform/Workspace.h"
#include "Worker/browsers/Browser.h"
#include "Worker/cleaning/Report.h"

namespace tidewell {

class HeldStores {
 public:
  using TryAgain = std::function<void(const Browser& browser)>;

  explicit HeldStores(TryAgain tryAgain) : tryAgain_(std::move(tryAgain)) {}

  /// The processes that hold now what was in use at the end of a report's last run, each once. Any thread.
  static std::vector<int> holdersOf(const Report& report);

  /// The browser was cleaned, and these processes still hold stores of it. None: there is nothing to wait for.
  void cleaned(const Browser& browser, Cause cause, const std::vector<int>& holders);

 private:
  static constexpr int kMostTries = 10;

  struct Wait {
    std::unique_ptr<platform::ProcessWatch> watch;
    int tries = 0;  // since the browser quit
  };

  const TryAgain tryAgain_;
  std::map<std::string_view, Wait> waits_;  // by the browser's identifier
};

}  // namespace tidewell
