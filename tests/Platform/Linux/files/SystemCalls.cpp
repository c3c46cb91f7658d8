#include "tests/Platform/Linux/files/SystemCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

using testing_support::SystemCalls;

thread_local SystemCalls* current = nullptr;

void doOnce(std::function<void()> SystemCalls::*task) {
  if (current != nullptr && current->*task) std::exchange(current->*task, nullptr)();
}

int flush(int descriptor, long call) {
  doOnce(&SystemCalls::beforeFlush);
  if (current != nullptr) {
    if (current->skipsFlushes) return 0;
    struct stat status {};
    ::fstat(descriptor, &status);
    current->flushed.push_back(status.st_ino);
    if (current->flushed.size() == current->failingFlush) {
      errno = current->flushError;
      return -1;
    }
  }
  return static_cast<int>(::syscall(call, descriptor));
}

}  // namespace

namespace testing_support {

SystemCalls::SystemCalls() {
  current = this;
}

SystemCalls::~SystemCalls() {
  current = nullptr;
}

bool swapItems(const std::string& path, const std::string& other) {
  return ::syscall(SYS_renameat2, AT_FDCWD, path.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
}

}  // namespace testing_support

extern "C" int fsync(int descriptor) {
  return flush(descriptor, SYS_fsync);
}

extern "C" int fdatasync(int descriptor) {
  return flush(descriptor, SYS_fdatasync);
}

extern "C" int renameat2(int from, const char* name, int to, const char* newName, unsigned flags) noexcept {
  doOnce(&SystemCalls::beforeExchange);
  if (current != nullptr && current->exchangeError != 0) {
    errno = current->exchangeError;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_renameat2, from, name, to, newName, flags));
}

extern "C" int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (command == F_SETLK) doOnce(&SystemCalls::beforeLock);
  return static_cast<int>(::syscall(SYS_fcntl, descriptor, command, argument));
}

extern "C" int close(int descriptor) {
  // Not a bare system call: the thread sanitizer's close() must see it, since it keeps track of descriptors.
  static const auto next = reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, "close"));
  doOnce(&SystemCalls::beforeClose);
  return next(descriptor);
}
