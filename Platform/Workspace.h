// The applications of the person's session: notifies observers when one has quit.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Dispatch.h"

namespace platform {

/// The arguments of a process; the first is the program itself.
using Arguments = std::vector<std::string>;

/// The application that a notification is about.
struct ApplicationNotification {
  std::optional<std::string> applicationName;
  std::optional<std::string> bundleIdentifier;
  /// The arguments of the application's processes, as far as known; empty for an announced quit.
  std::vector<Arguments> processes = {};
  /// Whether the announcer means it although the application may run.
  bool evenIfRunning = false;
};

/// Waits for the end of a process as long as it lives.
class ProcessWatch {
 public:
  virtual ~ProcessWatch() = default;
};

/// On the main thread, where nothing else is said.
class Workspace {
 public:
  using Observer = std::function<void(const ApplicationNotification& notification)>;
  using RunsObserver = std::function<void(const std::string& bundleIdentifier, bool isNews)>;
  using ObserverToken = unsigned;

  virtual ~Workspace() = default;

  /// The observer is called on the main thread each time that an application has quit.
  virtual ObserverToken addDidTerminateApplicationObserver(Observer observer) = 0;

  /// The observer is called on the main thread each time that an application is seen to run: when it has started, once
  /// for each that runs already when the watch begins, and for each that runs when the settings have changed which
  /// applications matter (`isNews` is false then). Only for applications whose processes can be seen.
  virtual ObserverToken addApplicationRunsObserver(RunsObserver observer) = 0;

  /// Of either kind.
  virtual void removeObserver(ObserverToken token) = 0;

  /// Whether the application of that bundle identifier runs at this moment, or did a few milliseconds ago, as far as
  /// its processes can be seen. Cheap enough to be asked before each step of long work. Any thread.
  virtual bool isRunning(const std::string& bundleIdentifier) const = 0;

  /// Calls `ended` once on the main thread when the process of that number has ended; soon, when it has ended already.
  /// Not while this runs, and not after the returned object has gone. Null when processes can't be watched now.
  virtual std::unique_ptr<ProcessWatch> watchProcess(int process, Task ended) = 0;

  /// Opens the application of that bundle identifier, or brings it to the front, and has it show the item of that name.
  /// `activationToken` is what the desktop gave the person's click for it, if anything. A failure is not reported.
  virtual void openApplication(const std::string& bundleIdentifier, const std::string& item,
                               const std::string& activationToken) = 0;
};

}  // namespace platform
