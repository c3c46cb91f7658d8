#include "tests/support/WatchMoments.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace testing_support {
namespace {

BeforeWatching::Handler& current() {
  static BeforeWatching::Handler handler;
  return handler;
}

}  // namespace

BeforeWatching::BeforeWatching(Handler handler) {
  current() = std::move(handler);
}

BeforeWatching::~BeforeWatching() {
  current() = nullptr;
}

bool isWatched(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  std::ostringstream inode;
  inode << " ino:" << std::hex << status.st_ino << ' ';
  for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
    std::ifstream info(descriptor.path());
    for (std::string line; std::getline(info, line);) {
      if (line.starts_with("inotify ") && line.find(inode.str()) != std::string::npos) return true;
    }
  }
  return false;
}

}  // namespace testing_support

// Replaces the C library's function of this name.
extern "C" int inotify_add_watch(int descriptor, const char* path, std::uint32_t mask) noexcept {
  if (testing_support::current()) testing_support::current()(path);
  return static_cast<int>(::syscall(SYS_inotify_add_watch, descriptor, path, mask));
}
