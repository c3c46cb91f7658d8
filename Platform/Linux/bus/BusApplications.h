// Applications that the session bus starts, as the Desktop Entry Specification has it ("D-Bus Activation").
#pragma once

#include <string>

#include "Platform/Linux/bus/SessionBus.h"

namespace platform::linux_ {

/// The action by which an application shows an item; its parameter is the item's name.
inline constexpr char kShowAction[] = "show";

/// Has the application of that name on the bus show an item; the bus starts it if need be. A failure is not reported.
void openApplication(SessionBus& bus, const std::string& name, const std::string& item,
                     const std::string& activationToken);

}  // namespace platform::linux_
