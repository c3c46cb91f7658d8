// A session bus of its own for a test, and programs on it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Linux/bus/SessionBus.h"

namespace testing_support {

/// Starts a bus, and points DBUS_SESSION_BUS_ADDRESS to it while the object lives.
class PrivateBus {
 public:
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

 private:
  pid_t daemon_ = 0;
  std::string before_;
};

/// Another program of the session, on a connection of its own. It lives on the test's run loop.
class BusProgram {
 public:
  /// Called with each method call that arrives. It may answer now, later or never.
  using Handler = std::function<void(sd_bus_message* call)>;

  /// With an empty `name` the program owns no name.
  BusProgram(platform::linux_::RunLoop& loop, const std::string& name, Handler handler = nullptr);

  sd_bus* bus() const { return bus_->get(); }

 private:
  std::unique_ptr<platform::linux_::SessionBus> bus_;
  platform::linux_::BusSlot filter_;
  Handler handler_;
};

/// Runs the loop until the condition holds; false when it does not within a minute.
bool runUntil(platform::linux_::RunLoop& loop, const std::function<bool()>& condition);

}  // namespace testing_support
