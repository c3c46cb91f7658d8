// Mounts of a test's own, which no other process sees.
#pragma once

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <thread>

namespace testing_support {

/// Runs the task on a thread with a mount namespace of its own; its mounts end with it. Returns false, without having
/// run the task, where the system allows no namespaces.
inline bool withOwnMounts(const std::function<void()>& task) {
  bool isAllowed = false;
  std::thread([&] {
    isAllowed = ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    if (isAllowed) task();
  }).join();
  return isAllowed;
}

/// Mounts a folder or file at another place.
inline bool bindMount(const std::string& what, const std::string& where) {
  return ::mount(what.c_str(), where.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

inline bool mountMemory(const std::string& where, const std::string& options) {
  return ::mount("tmpfs", where.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

}  // namespace testing_support
