#include "Platform/Linux/RunningApplication.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace platform::linux_ {
namespace {

constexpr std::chrono::milliseconds kLongestWaitForHelpers{500};
constexpr std::size_t kMostHeld = 64;

}  // namespace

RunningApplication::Outcome RunningApplication::hold(Held& held, pid_t pid, void (RunningApplication::*ended)(pid_t)) {
  if (held.contains(pid)) return Outcome::held;
  if (held.size() >= kMostHeld) return Outcome::notHeld;
  auto exit = std::make_unique<ProcessExit>(loop_, pid, [this, pid, ended] { (this->*ended)(pid); });
  if (!exit->isValid()) return exit->hasEnded() ? Outcome::hadEnded : Outcome::notHeld;
  // The number may have gone to another process between the look and now.
  const std::optional<bool> runs = callbacks_.runs(pid);
  if (!runs) return Outcome::hadEnded;
  if (!*runs) return Outcome::notHeld;
  held.emplace(pid, std::move(exit));
  return Outcome::held;
}

void RunningApplication::update(const Processes& found) {
  bool wasRunning = isRunning();
  for (const pid_t pid : found.mains) {
    wasRunning |= hold(mains_, pid, &RunningApplication::mainEnded) == Outcome::hadEnded;
  }
  // A child that looked like a main process until it ran its own program.
  std::erase_if(mains_, [&](const auto& main) {
    const pid_t pid = main.first;
    if (std::find(found.mains.begin(), found.mains.end(), pid) != found.mains.end()) return false;
    const bool isHelper = std::find(found.helpers.begin(), found.helpers.end(), pid) != found.helpers.end();
    return isHelper || callbacks_.runs(pid) == false;
  });
  if (isRunning()) {
    quitting_ = false;
    helpers_.clear();
  } else if (wasRunning) {
    beginQuitting(found);
  } else if (quitting_) {
    for (const pid_t pid : found.helpers) hold(helpers_, pid, &RunningApplication::helperEnded);
  }
}

void RunningApplication::mainEnded(pid_t pid) {
  const auto main = mains_.find(pid);
  if (main == mains_.end() || !main->second->hasEnded()) return;
  mains_.erase(main);
  if (isRunning()) return;
  const Processes found = callbacks_.look();
  update(found);
  if (isRunning()) {
    callbacks_.lookLater();  // what is left may be such a child
  } else if (!quitting_) {
    beginQuitting(found);
  }
}

void RunningApplication::beginQuitting(const Processes& found) {
  quitting_ = true;
  for (const pid_t pid : found.helpers) hold(helpers_, pid, &RunningApplication::helperEnded);
  if (helpers_.empty()) {
    endQuitting();
    return;
  }
  loop_.after(kLongestWaitForHelpers, [this, number = ++quits_] {
    if (!quitting_ || number != quits_) return;
    update(callbacks_.look());
    if (quitting_) endQuitting();
  });
}

void RunningApplication::helperEnded(pid_t pid) {
  const auto helper = helpers_.find(pid);
  if (helper == helpers_.end() || !helper->second->hasEnded()) return;
  helpers_.erase(helper);
  if (!quitting_ || !helpers_.empty()) return;
  update(callbacks_.look());
  if (quitting_ && helpers_.empty()) endQuitting();
}

void RunningApplication::endQuitting() {
  quitting_ = false;
  helpers_.clear();
  callbacks_.quit();
}

}  // namespace platform::linux_
