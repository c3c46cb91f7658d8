// The running processes of this user, as /proc shows them.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace platform::linux_ {

struct ProcessInfo {
  pid_t pid = 0;
  pid_t parent = 0;
  std::string executable;  // the program's path; of one that was replaced or deleted meanwhile, where it was
  std::vector<std::string> arguments;
};

/// The processes of this process's user whose program's path satisfies the test.
std::vector<pid_t> ownProcessesRunning(const std::function<bool(const std::string& executable)>& matches);

/// The path of the program that a process runs. Absent for a process that has ended or belongs to someone else.
std::optional<std::string> executableOfProcess(pid_t pid);

/// Everything else of a process. Absent when it has ended.
std::optional<ProcessInfo> processInfo(pid_t pid);

/// Takes the arguments apart. Programs that rewrite theirs leave one text, joined by blanks.
std::vector<std::string> argumentsFromCommandLine(const std::string& commandLine);

}  // namespace platform::linux_
