// The end of the person's session: what is still to be done is done before the process ends.
//
// The session ends when the process is told to terminate while the person's service manager stops everything, and when
// the session bus has gone. Told to terminate for any other reason (an update restarts the worker), the process ends at
// once; so it does when it is told twice.
//
// Main thread.
#pragma once

#include <functional>

#include "Platform/Linux/bus/SessionBus.h"

namespace platform::linux_ {

class SessionEnd {
 public:
  /// `finish` is called once, when the session ends; it is to call `done` on the main thread. Then the loop stops: with
  /// status 0, or 1 when the bus has gone. Bus and loop must outlive the object.
  SessionEnd(SessionBus& bus, std::function<void(Task done)> finish);

 private:
  void terminate();
  void finish(int status);
  void askForTime();

  SessionBus& bus_;
  const std::function<void(Task done)> finish_;
  bool isFinishing_ = false;
};

/// Whether the person's service manager is stopping everything. False without one.
bool isServiceManagerStopping(sd_bus* bus);

}  // namespace platform::linux_
