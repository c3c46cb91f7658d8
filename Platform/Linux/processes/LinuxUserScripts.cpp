#include "Platform/Linux/processes/LinuxUserScripts.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>

#include "Platform/Linux/host/SpawnSettings.h"
#include "Platform/Path.h"

namespace platform::linux_ {

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
  // Its streams on nothing, in a session of its own.
  sigset_t ignored;
  ::sigemptyset(&ignored);
  ::sigaddset(&ignored, SIGPIPE);
  SpawnSettings settings(ignored, POSIX_SPAWN_SETSID);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) settings.open(stream, "/dev/null");
  std::array<char*, 2> arguments = {const_cast<char*>(script.c_str()), nullptr};
  pid_t pid = 0;
  // A script that can't be started is like one that fails: not noticed.
  if (::posix_spawn(&pid, script.c_str(), settings.actions(), settings.attributes(), arguments.data(), environ) != 0) {
    return;
  }
  const auto ended = [this, pid] {
    ::waitpid(pid, nullptr, WNOHANG);
    running_.erase(pid);
  };
  running_[pid] = std::make_unique<ProcessExit>(loop_, pid, ended);
}

}  // namespace platform::linux_
