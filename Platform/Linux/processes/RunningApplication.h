// One application: whether it runs, and when it has quit.
//
// It has quit when its last main process has gone and a new look at the process table finds no other. Helper processes
// can still write for a moment then, so the quit is told when they have gone too, after half a second at the latest.
// When it starts again meanwhile, it has not quit.
//
// Main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Linux/processes/ApplicationProcesses.h"
#include "Platform/Linux/processes/ProcessExit.h"
#include "Platform/Workspace.h"

namespace platform::linux_ {

class RunningApplication {
 public:
  using Processes = ApplicationProcesses::Processes;

  struct Identity {
    std::string executable;
    bool isApplication = false;
    Arguments arguments;
  };

  /// `look` looks at the process table. `identify` confirms, once a process is held, what it is; absent when it has
  /// ended. `quit` is called for each quit, with the arguments of the main processes that were held since the one
  /// before. The loop must outlive the object.
  struct Callbacks {
    std::function<Processes()> look;
    std::function<std::optional<Identity>(pid_t)> identify;
    std::function<void(std::vector<Arguments> processes)> quit;
    std::function<void()> lookLater;  // asks for update() in a while
  };

  RunningApplication(RunLoop& loop, Callbacks callbacks) : loop_(loop), callbacks_(std::move(callbacks)) {}

  bool isRunning() const { return !mains_.empty(); }

  /// Takes in what was found.
  void update(const Processes& found) { update(found, isRunning()); }

 private:
  struct HeldProcess {
    std::unique_ptr<ProcessExit> exit;
    std::string executable;  // when it was taken
  };
  using Held = std::map<pid_t, HeldProcess>;

  void update(const Processes& found, bool wasRunning);
  bool hasBecomeAnotherProgram(pid_t pid, const HeldProcess& process) const;

  enum class Outcome { held, notHeld, hadEnded };

  Outcome hold(Held& held, pid_t pid, void (RunningApplication::*ended)(pid_t));
  void mainEnded(pid_t pid);
  void helperEnded(pid_t pid);
  void beginQuitting(const Processes& found);
  void endQuitting();

  RunLoop& loop_;
  const Callbacks callbacks_;
  // A few of each kind are held: when the last of them has ended, a new look finds those that were not.
  Held mains_;
  Held helpers_;
  std::vector<Arguments> processes_;  // of mains, each set once
  bool quitting_ = false;
  unsigned quits_ = 0;  // numbers the times that quitting began, so that a late timer is known as such
};

}  // namespace platform::linux_
