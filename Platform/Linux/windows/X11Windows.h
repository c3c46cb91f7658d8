// The windows on the screen of an X server.
#pragma once

#include <sys/types.h>

#include <optional>
#include <set>

namespace platform::linux_ {

/// The processes whose windows the window manager of $DISPLAY manages, by the numbers under which they know themselves.
/// Absent without an X server, and without a window manager that keeps a list of windows.
std::optional<std::set<pid_t>> processesWithWindows();

}  // namespace platform::linux_
