// Holds up the shutdown of the machine while work is done that should not be cut off.
//
// By a delay inhibitor of the system's login manager: org.freedesktop.login1(5). The machine waits for 5 seconds unless
// it is configured otherwise. Nothing happens where no such manager answers. The connection to the system's bus lasts
// as long as the delay, so that idle nothing is held.
//
// Main thread.
#pragma once

#include <functional>

#include "Platform/Linux/bus/SessionBus.h"
#include "Platform/Linux/host/FileDescriptor.h"

namespace platform::linux_ {

class ShutdownDelay {
 public:
  /// `who` and `why` are shown to whoever shuts the machine down. The loop must outlive the object.
  ShutdownDelay(RunLoop& loop, std::string who, std::string why);
  ~ShutdownDelay();
  ShutdownDelay(const ShutdownDelay&) = delete;
  ShutdownDelay& operator=(const ShutdownDelay&) = delete;

  /// Returns at once; the delay holds as soon as the manager has answered.
  void begin();
  void end();

 private:
  struct Connection;

  void received(sd_bus_message* answer);

  RunLoop& loop_;
  const std::string who_;
  const std::string why_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace platform::linux_
