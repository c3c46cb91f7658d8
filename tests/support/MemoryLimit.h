// Work under a limit of memory.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <functional>

#include "Platform/Linux/host/Sanitizers.h"

namespace testing_support {

inline constexpr bool kCanLimitMemory = !platform::linux_::kIsSanitized;  // shadow memory exceeds any limit

/// Runs the work in a child process that can take `bytes` of memory in addition to what this process has. True when the
/// work returns true; false when it fails, also for lack of memory.
inline bool succeedsWithMemory(std::size_t bytes, const std::function<bool()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limit{};
    limit.rlim_cur = limit.rlim_max = pages * static_cast<std::size_t>(::getpagesize()) + bytes;
    if (kCanLimitMemory && ::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(EXIT_FAILURE);
    const auto ends = [&work]() noexcept { return work(); };  // an exception must not lead back to the tests
    ::_exit(ends() ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  int status = 0;
  return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

}  // namespace testing_support
