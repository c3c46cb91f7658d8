#include "Platform/Linux/processes/LinuxUserScripts.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>

#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

/// How a script starts: its streams on nothing, in a session of its own, with no signals blocked.
class Surroundings {
 public:
  Surroundings() {
    ::posix_spawn_file_actions_init(&actions_);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
    ::posix_spawnattr_init(&attributes_);
    sigset_t none;
    ::sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    sigset_t ignored;
    ::sigemptyset(&ignored);
    ::sigaddset(&ignored, SIGPIPE);
    ::posix_spawnattr_setsigdefault(&attributes_, &ignored);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
  }
  ~Surroundings() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

}  // namespace

class LinuxUserScripts::Task : public UserUnixTask {
 public:
  Task(LinuxUserScripts& scripts, std::string script) : scripts_(scripts), script_(std::move(script)) {}
  void execute() override { scripts_.start(script_); }

 private:
  LinuxUserScripts& scripts_;
  const std::string script_;
};

Result<std::unique_ptr<UserUnixTask>> LinuxUserScripts::taskWithURL(const FileURL& url) {
  const std::string folder = deletingLastPathComponent(url.path());
  std::error_code error;
  const bool isItsFolder = folder == folder_ || std::filesystem::equivalent(folder, folder_, error);
  if (!isItsFolder) return std::errc::operation_not_permitted;
  struct stat status {};
  if (::lstat(url.path().c_str(), &status) != 0) return std::error_code(errno, std::generic_category());
  if (!S_ISREG(status.st_mode)) return std::errc::permission_denied;
  if (::access(url.path().c_str(), X_OK) != 0) return std::error_code(errno, std::generic_category());
  return std::unique_ptr<UserUnixTask>(std::make_unique<Task>(*this, url.path()));
}

void LinuxUserScripts::start(const std::string& script) {
  const Surroundings surroundings;
  std::array<char*, 2> arguments = {const_cast<char*>(script.c_str()), nullptr};
  pid_t pid = 0;
  // A script that can't be started is like one that fails: not noticed.
  if (::posix_spawn(&pid, script.c_str(), surroundings.actions(), surroundings.attributes(), arguments.data(),
                    environ) != 0) {
    return;
  }
  const auto ended = [this, pid] {
    ::waitpid(pid, nullptr, WNOHANG);
    running_.erase(pid);
  };
  running_[pid] = std::make_unique<ProcessExit>(loop_, pid, ended);
}

}  // namespace platform::linux_
