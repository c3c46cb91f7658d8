// The error of the last system call that failed in this thread.
#pragma once

#include <cerrno>
#include <system_error>

namespace platform::linux_ {

inline std::error_code lastError() {
  return {errno, std::generic_category()};
}

}  // namespace platform::linux_
