#include "Platform/Linux/processes/ProcessFacts.h"

#include <limits.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>

namespace platform::linux_ {
namespace {

constexpr int kStartField = 22;  // of /proc/PID/stat, see proc(5)
constexpr int kFirstField = 3;   // behind the name, which can hold anything

std::string contentsOf(pid_t pid, const char* entry) {
  std::ifstream file("/proc/" + std::to_string(pid) + entry, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::chrono::nanoseconds sinceBoot() {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace

std::optional<std::chrono::system_clock::time_point> startOfProcess(pid_t pid) {
  const std::string stat = contentsOf(pid, "/stat");
  const std::size_t nameEnd = stat.rfind(") ");
  if (nameEnd == std::string::npos) return std::nullopt;
  std::istringstream fields(stat.substr(nameEnd + 2));
  std::string skipped;
  for (int field = kFirstField; field < kStartField; ++field) fields >> skipped;
  long long ticks = 0;
  if (!(fields >> ticks)) return std::nullopt;
  const std::chrono::milliseconds start(ticks * 1000 / ::sysconf(_SC_CLK_TCK));
  using Clock = std::chrono::system_clock;
  return Clock::now() - std::chrono::duration_cast<Clock::duration>(sinceBoot() - start);
}

std::optional<std::string> environmentOfProcess(pid_t pid, const std::string& name) {
  std::istringstream variables(contentsOf(pid, "/environ"));
  for (std::string variable; std::getline(variables, variable, '\0');) {
    if (variable.starts_with(name + "=")) return variable.substr(name.size() + 1);
  }
  return std::nullopt;
}

bool hasOwnNumber(pid_t pid) {
  std::istringstream lines(contentsOf(pid, "/status"));
  for (std::string line; std::getline(lines, line);) {
    // One number for each namespace that the process is in, seen from here.
    if (line.starts_with("NSpid:")) return line == "NSpid:\t" + std::to_string(pid);
  }
  return false;
}

}  // namespace platform::linux_
