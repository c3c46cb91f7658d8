// Quits that other programs announce on the session bus: launchers, containers and tests. The signal "CleanAllTheSame"
// says the same of an application that may still run, on the person's word.
#pragma once

#include <functional>

#include "Platform/Linux/bus/SessionBus.h"
#include "Platform/Workspace.h"

namespace platform::linux_ {

class AnnouncedQuits {
 public:
  using Handler = std::function<void(const ApplicationNotification& quit)>;

  /// The handler is called on the main thread for each announcement, whoever it is from. A signal with other arguments
  /// than two strings, or with one longer than kLongestName, is ignored. The bus must outlive the object.
  AnnouncedQuits(SessionBus& bus, Handler handler);

 private:
  SessionBus& bus_;
  const Handler handler_;
  BusSlot slot_;
};

}  // namespace platform::linux_
