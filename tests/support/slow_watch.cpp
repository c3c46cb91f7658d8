// Delays a program, into which it is loaded by LD_PRELOAD, before each file that it begins to watch and before each
// reading of the process table, so that races show every time. TIDEWELL_SLOW is the delay in milliseconds.

#include <dirent.h>
#include <dlfcn.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

void holdUp() {
  const char* milliseconds = std::getenv("TIDEWELL_SLOW");
  if (milliseconds != nullptr) ::usleep(static_cast<useconds_t>(std::atoi(milliseconds)) * 1000);
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int inotify_add_watch(int descriptor, const char* path, std::uint32_t mask) noexcept {
  static const auto real = next<int (*)(int, const char*, std::uint32_t)>("inotify_add_watch");
  holdUp();
  return real(descriptor, path, mask);
}

extern "C" DIR* opendir(const char* path) {
  static const auto real = next<DIR* (*)(const char*)>("opendir");
  if (std::strcmp(path, "/proc") == 0) holdUp();
  return real(path);
}
