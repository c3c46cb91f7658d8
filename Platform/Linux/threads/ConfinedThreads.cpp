#include "Platform/Linux/threads/ConfinedThreads.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/host/Landlock.h"

namespace platform::linux_ {
namespace {

// Reading is not among them: what a run reads of a browser it opens under a grant, and libraries open files of their
// own at any time (translations, time zones).
constexpr std::uint64_t kNoChange = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE |
                                    LANDLOCK_ACCESS_FS_READ_DIR | (std::uint64_t{1} << 15);  // calls to devices

void allow(int rules, const std::string& folder, std::uint64_t rights) {
  const FileDescriptor opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!opened) return;
  landlock_path_beneath_attr rule{};
  rule.allowed_access = rights;
  rule.parent_fd = opened.get();
  ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

/// Takes all rights to change files from this thread, but in these folders.
void confine(const std::vector<std::string>& folders, const std::vector<std::string>& own) {
  const long version = landlockVersion();
  if (version < 1) return;
  LandlockRights handled;
  handled.files = LandlockRights::ofVersion(version).files & ~kNoChange;
  const FileDescriptor rules(
      static_cast<int>(::syscall(SYS_landlock_create_ruleset, &handled, sizeof handled.files, 0)));
  if (!rules) return;
  for (const auto* list : {&folders, &own}) {
    for (const std::string& folder : *list) allow(rules.get(), folder, handled.files);
  }
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  ::syscall(SYS_landlock_restrict_self, rules.get(), 0);
}

/// Between a confined thread and the one that waits for it.
class Door {
 public:
  /// On the confined thread.
  void runOutside(const Task& task) {
    std::unique_lock lock(mutex_);
    task_ = &task;
    changed_.notify_all();
    changed_.wait(lock, [this] { return task_ == nullptr; });
    if (auto thrown = std::exchange(thrown_, nullptr)) std::rethrow_exception(thrown);
  }
  void end() {
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    changed_.notify_all();
  }

  /// On the other one.
  void serve() {
    std::unique_lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [this] { return task_ != nullptr || hasEnded_; });
      if (task_ == nullptr) return;
      try {
        (*task_)();
      } catch (...) {
        thrown_ = std::current_exception();
      }
      task_ = nullptr;
      changed_.notify_all();
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  const Task* task_ = nullptr;
  std::exception_ptr thrown_;
  bool hasEnded_ = false;
};

thread_local Door* door = nullptr;

}  // namespace

void ConfinedThreads::run(const std::vector<std::string>& folders, const Task& task) {
  Door between;
  std::exception_ptr thrown;
  std::thread confined([&] {
    door = &between;
    try {
      confine(folders, own_);
      task();
    } catch (...) {
      thrown = std::current_exception();
    }
    between.end();
  });
  between.serve();
  confined.join();
  if (thrown) std::rethrow_exception(thrown);
}

void ConfinedThreads::outside(const Task& task) {
  if (door == nullptr) return task();
  door->runOutside(task);
}

}  // namespace platform::linux_
