// Whether the owner of a name on the session bus is still there.
//
// The bus has a connection until its last descriptor is closed. A process that was killed while it started another one
// leaves its descriptors to that one for a moment, and with them its names.
#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <string>

namespace platform::linux_ {

/// Whether the name has an owner whose process has not ended.
bool ownerRuns(sd_bus* bus, const std::string& name);

/// Waits on a connection of its own, so that nothing that comes for others is taken. False when the name still has an
/// owner after that time, or when the bus can't be asked.
bool waitUntilFree(const std::string& name, std::chrono::microseconds longest);

}  // namespace platform::linux_
