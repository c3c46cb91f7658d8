#include "Platform/Linux/processes/ProcessTable.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <memory>

#include "Platform/Linux/host/FileDescriptor.h"

namespace platform::linux_ {
namespace {

constexpr std::string_view kDeleted = " (deleted)";  // what the kernel appends to the path of a file that is gone

std::string processPath(pid_t pid, const char* entry) {
  return "/proc/" + std::to_string(pid) + entry;
}

struct DirectoryClose {
  void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryClose>;

std::optional<pid_t> processNumber(std::string_view name) {
  pid_t pid = 0;
  const auto [end, error] = std::from_chars(name.begin(), name.end(), pid);
  return error == std::errc() && end == name.end() ? std::optional(pid) : std::nullopt;
}

std::string readAll(const std::string& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string content;
  std::array<char, 4096> buffer;
  for (ssize_t count = 0; file && (count = ::read(file.get(), buffer.data(), buffer.size())) > 0;) {
    content.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return content;
}

std::optional<std::string> linkTarget(int folder, const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = ::readlinkat(folder, path.c_str(), target.data(), target.size());
  if (length <= 0) return std::nullopt;
  std::string_view text(target.data(), static_cast<std::size_t>(length));
  if (text.ends_with(kDeleted)) text.remove_suffix(kDeleted.size());
  return std::string(text);
}

/// The first thread of a process may end before the others; then they know what it runs.
std::optional<std::string> executableOfOtherThreads(pid_t pid) {
  const std::string folder = processPath(pid, "/task");
  struct stat status {};
  // Two links and one for each thread: most that show no program are threads of the kernel, and have just one.
  if (::stat(folder.c_str(), &status) != 0 || status.st_nlink <= 3) return std::nullopt;
  const Directory threads(::opendir(folder.c_str()));
  while (const dirent* entry = threads ? ::readdir(threads.get()) : nullptr) {
    const auto thread = processNumber(entry->d_name);
    if (!thread || *thread == pid) continue;
    if (auto executable = linkTarget(AT_FDCWD, folder + "/" + entry->d_name + "/exe")) return executable;
  }
  return std::nullopt;
}

/// The fourth field of /proc/PID/stat (proc(5)); the second is a name that can hold anything, also ")".
pid_t parentFromStat(std::string_view stat) {
  const std::size_t nameEnd = stat.rfind(") ");
  pid_t parent = 0;
  if (nameEnd != std::string_view::npos && stat.size() > nameEnd + 4) {
    std::from_chars(stat.begin() + nameEnd + 4, stat.end(), parent);
  }
  return parent;
}

}  // namespace

std::vector<pid_t> ownProcessesRunning(const std::function<bool(const std::string& executable)>& matches) {
  std::vector<pid_t> pids;
  const Directory processes(::opendir("/proc"));
  const uid_t user = ::getuid();
  while (const dirent* entry = processes ? ::readdir(processes.get()) : nullptr) {
    const auto pid = processNumber(entry->d_name);
    if (!pid) continue;
    const int folder = ::dirfd(processes.get());
    auto executable = linkTarget(folder, std::string(entry->d_name) + "/exe");
    // What is refused is somebody else's, with all of its threads: a system has many of those.
    if (!executable && errno != EACCES) executable = executableOfOtherThreads(*pid);
    struct stat status {};
    // Whose it is matters for the few that are left.
    if (executable && matches(*executable) && ::fstatat(folder, entry->d_name, &status, 0) == 0 &&
        status.st_uid == user) {
      pids.push_back(*pid);
    }
  }
  return pids;
}

std::optional<std::string> executableOfProcess(pid_t pid) {
  if (auto executable = linkTarget(AT_FDCWD, processPath(pid, "/exe"))) return executable;
  return executableOfOtherThreads(pid);
}

std::optional<ProcessInfo> processInfo(pid_t pid) {
  ProcessInfo info;
  info.pid = pid;
  info.parent = parentFromStat(readAll(processPath(pid, "/stat")));
  info.arguments = argumentsFromCommandLine(readAll(processPath(pid, "/cmdline")));
  auto executable = executableOfProcess(pid);  // last, so that what was read is of a process that still ran
  if (!executable) return std::nullopt;
  info.executable = std::move(*executable);
  return info;
}

std::vector<std::string> argumentsFromCommandLine(const std::string& commandLine) {
  std::string_view rest = commandLine;
  while (rest.ends_with('\0')) rest.remove_suffix(1);
  const char separator = rest.find('\0') == std::string_view::npos ? ' ' : '\0';
  std::vector<std::string> arguments;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    arguments.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return arguments;
}

}  // namespace platform::linux_
