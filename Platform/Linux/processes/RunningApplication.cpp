#include "Platform/Linux/processes/RunningApplication.h"

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
  const std::optional<Identity> identity = callbacks_.identify(pid);
  if (!identity) return Outcome::hadEnded;
  if (!identity->isApplication) return Outcome::notHeld;
  held.emplace(pid, HeldProcess{std::move(exit), identity->executable});
  const bool isNews = std::find(processes_.begin(), processes_.end(), identity->arguments) == processes_.end();
  if (&held == &mains_ && isNews && processes_.size() < kMostHeld) processes_.push_back(identity->arguments);
  return Outcome::held;
}

/// Not asked of where its program lies: that may have been moved or replaced under the running process.
bool RunningApplication::hasBecomeAnotherProgram(pid_t pid, const HeldProcess& process) const {
  const std::optional<Identity> now = callbacks_.identify(pid);
  return now && !now->isApplication && now->executable != process.executable;
}

void RunningApplication::update(const Processes& found, bool wasRunning) {
  for (const pid_t pid : found.mains) {
    wasRunning |= hold(mains_, pid, &RunningApplication::mainEnded) == Outcome::hadEnded;
  }
  // A child that looked like a main process until it ran its own program.
  std::erase_if(mains_, [&](const auto& main) {
    const pid_t pid = main.first;
    if (std::find(found.mains.begin(), found.mains.end(), pid) != found.mains.end()) return false;
    const bool isHelper = std::find(found.helpers.begin(), found.helpers.end(), pid) != found.helpers.end();
    return isHelper || hasBecomeAnotherProgram(pid, main.second);
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
  if (main == mains_.end() || !main->second.exit->hasEnded()) return;
  mains_.erase(main);
  if (isRunning()) return;
  update(callbacks_.look(), /*wasRunning=*/true);
  if (isRunning()) callbacks_.lookLater();  // what is left may be a child that is about to become something else
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
  if (helper == helpers_.end() || !helper->second.exit->hasEnded()) return;
  helpers_.erase(helper);
  if (!quitting_ || !helpers_.empty()) return;
  update(callbacks_.look());
  if (quitting_ && helpers_.empty()) endQuitting();
}

void RunningApplication::endQuitting() {
  quitting_ = false;
  helpers_.clear();
  callbacks_.quit(std::exchange(processes_, {}));
}

}  // namespace platform::linux_
