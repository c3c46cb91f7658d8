// Quits that other programs announce on the session bus: launchers, containers and tests.
#pragma once

#include <functional>
#include <string>

#include "Platform/Linux/bus/SessionBus.h"

namespace platform::linux_ {

class AnnouncedQuits {
 public:
  using Handler = std::function<void(const std::string& applicationName, const std::string& bundleIdentifier)>;

  /// The handler is called on the main thread for each announcement, whoever it is from. A signal with other arguments
  /// than two strings, or with one longer than kLongestName, is ignored. The bus must outlive the object.
  AnnouncedQuits(SessionBus& bus, Handler handler);

 private:
  SessionBus& bus_;
  const Handler handler_;
  BusSlot slot_;
};

}  // namespace platform::linux_
