// Single facts about a process, for people to read.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace platform::linux_ {

/// When a process started, to the hundredth of a second. Absent when it has ended.
std::optional<std::chrono::system_clock::time_point> startOfProcess(pid_t pid);

/// A variable of the environment that a process was started with. Absent when it was not set, and when it can't be
/// read.
std::optional<std::string> environmentOfProcess(pid_t pid, const std::string& name);

/// Whether the process knows itself by the same number as others do. Not so in the sandboxes of packages.
bool hasOwnNumber(pid_t pid);

}  // namespace platform::linux_
