// Which programs the session bus knows. Main thread; nothing is started.
#pragma once

#include <optional>
#include <string>

#include "Platform/Linux/bus/SessionBus.h"

namespace tidewell {

/// How a program can be reached by its name on the bus.
enum class Reach {
  kNot,
  kWhenCalled,  // the bus starts it
  kNow,         // it runs
};

class BusNames {
 public:
  explicit BusNames(sd_bus* bus) : bus_(bus) {}

  Reach reachOf(const std::string& name) const;

  /// Whether the program answers within five seconds. It must run.
  bool answers(const std::string& name, const std::string& object) const;

  /// The state of a unit of the person's service manager ("active", "failed" …), and whether it is started with the
  /// session ("enabled", "disabled" …). "" where the manager has no such unit; absent where there is no manager.
  struct Unit {
    std::string state;
    std::string startsWithSession;
  };
  std::optional<Unit> unit(const std::string& name) const;

 private:
  sd_bus* bus_;
};

}  // namespace tidewell
