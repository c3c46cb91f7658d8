// Tells when applications have quit, from the processes of this user.
//
// Starts are noticed by watching the applications' program files being opened, and processes are held by descriptors:
// nothing is polled, and while nothing starts or ends the process sleeps. See docs/architecture.md for the whole story.
//
// Main thread, but for isRunning().
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Linux/processes/ApplicationProcesses.h"
#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Platform/Linux/processes/LookSchedule.h"
#include "Platform/Linux/processes/PathWatch.h"
#include "Platform/Linux/processes/ProcessConnector.h"
#include "Platform/Linux/processes/RunningApplication.h"
#include "Platform/Linux/threads/RunLoop.h"
#include "Platform/Workspace.h"

namespace platform::linux_ {

class LinuxWorkspace : public Workspace {
 public:
  struct Options {
    SearchPlaces places = SearchPlaces::fromEnvironment();

    /// Whether quits of this application matter to anyone now. For one that does and whose program lies nowhere, every
    /// program start of the system is looked at, where the kernel allows it.
    std::function<bool(const WatchedApplication& application)> isWanted = [](const WatchedApplication&) {
      return true;
    };

    /// The file that `isWanted` answers from: asked again when it changes. Empty for none.
    std::string wantedFile;
  };

  /// Does nothing before start(). In the applications' places a leading "~/" is the home folder. The loop must outlive
  /// the object.
  LinuxWorkspace(RunLoop& loop, std::vector<WatchedApplication> applications);
  ~LinuxWorkspace() override;

  /// Finds what runs already, and watches from now on.
  void start(Options options);

  using Opener =
      std::function<void(const std::string& identifier, const std::string& item, const std::string& activationToken)>;

  /// What opens applications; without it, openApplication() does nothing.
  void setOpener(Opener opener) { opener_ = std::move(opener); }

  /// Tells of a quit that was learned of in another way.
  void announce(const ApplicationNotification& notification);

  ObserverToken addDidTerminateApplicationObserver(Observer observer) override;
  ObserverToken addApplicationRunsObserver(RunsObserver observer) override;
  void removeObserver(ObserverToken token) override;
  bool isRunning(const std::string& bundleIdentifier) const override;
  std::unique_ptr<ProcessWatch> watchProcess(int process, Task ended) override;
  void openApplication(const std::string& bundleIdentifier, const std::string& item,
                       const std::string& activationToken) override {
    if (opener_) opener_(bundleIdentifier, item, activationToken);
  }

 private:
  void scan();
  void scanAt(const std::vector<LookSchedule::Time>& times, LookSchedule::Time now);
  void scanAfterOpening();
  void scanSeveralTimes();
  void started(pid_t pid);
  bool lookForPrograms();
  void watch();
  void happened(const PathWatch::Events& events);
  void updateConnector();
  void quit(std::size_t index, std::vector<Arguments> processes);
  void tellThatItRuns(std::size_t index, bool isNews);
  void tellWhatRuns();

  RunLoop& loop_;
  const std::vector<WatchedApplication> applications_;
  mutable std::mutex mutex_;  // guards the next three; the main thread alone sets the first
  std::shared_ptr<const ApplicationProcesses> processes_;  // so that it may read it unlocked
  mutable ApplicationProcesses::Found seen_;               // the answers of isRunning()
  mutable std::chrono::steady_clock::time_point lookedAt_;
  Options options_;
  Opener opener_;
  std::vector<std::unique_ptr<RunningApplication>> running_;
  std::vector<FoundExecutables> executables_;
  PathWatch::Interests interests_;  // what is watched
  LookSchedule looks_;
  std::unique_ptr<PathWatch> watch_;
  bool watchesAll_ = true;  // false when the system's limits left something out
  std::unique_ptr<ProcessConnector> connector_;
  bool hasNoConnector_ = false;  // it was tried
  std::map<ObserverToken, Observer> observers_;
  std::map<ObserverToken, RunsObserver> runsObservers_;
  ObserverToken lastToken_ = 0;
};

}  // namespace platform::linux_
