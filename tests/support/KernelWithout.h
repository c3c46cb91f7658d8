// Threads for which the kernel has less than it has.
#pragma once

#include <gtest/gtest.h>
#include <seccomp.h>
#include <sys/prctl.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace testing_support {

/// What of the kernel a cell has to do without.
enum class Lacking { kNothing, kLandlock, kSeccomp };

/// Makes calls fail in this thread and in what it starts, as a kernel does that doesn't have them.
inline void refuse(const std::vector<int>& calls) {
  const std::unique_ptr<void, decltype(&::seccomp_release)> filter(::seccomp_init(SCMP_ACT_ALLOW), ::seccomp_release);
  for (const int call : calls) {
    ASSERT_EQ(::seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(ENOSYS), call, 0), 0);
  }
  if (calls.front() == SCMP_SYS(seccomp)) {
    const scmp_arg_cmp isSeccomp{0, SCMP_CMP_EQ, PR_SET_SECCOMP, 0};
    ASSERT_EQ(::seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1, &isSeccomp), 0);
  }
  ASSERT_EQ(::seccomp_load(filter.get()), 0);
}

/// Runs the task in a thread of its own where the kernel lacks this.
inline void withKernel(Lacking lacking, const std::function<void()>& task) {
  std::thread([&] {
    if (lacking == Lacking::kLandlock) refuse({SCMP_SYS(landlock_create_ruleset), SCMP_SYS(landlock_restrict_self)});
    if (lacking == Lacking::kSeccomp) refuse({SCMP_SYS(seccomp)});
    task();
  }).join();
}

}  // namespace testing_support
