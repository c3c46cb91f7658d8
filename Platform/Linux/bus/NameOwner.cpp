#include "Platform/Linux/bus/NameOwner.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "Platform/Linux/host/FileDescriptor.h"

namespace platform::linux_ {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

struct CredentialsUnref {
  void operator()(sd_bus_creds* credentials) const { sd_bus_creds_unref(credentials); }
};
struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};

bool hasOwner(sd_bus* bus, const std::string& name) {
  return sd_bus_get_name_creds(bus, name.c_str(), 0, nullptr) >= 0;
}

bool hasEnded(pid_t pid) {
  const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  if (!process) return errno == ESRCH;
  pollfd end{process.get(), POLLIN, 0};
  return ::poll(&end, 1, 0) == 1;
}

}  // namespace

bool ownerRuns(sd_bus* bus, const std::string& name) {
  sd_bus_creds* found = nullptr;
  const int result = sd_bus_get_name_creds(bus, name.c_str(), SD_BUS_CREDS_PID, &found);
  const std::unique_ptr<sd_bus_creds, CredentialsUnref> credentials(found);
  if (result < 0) return result != -ENXIO && result != -ESRCH;  // it has no owner any more
  pid_t pid = 0;
  return sd_bus_creds_get_pid(credentials.get(), &pid) < 0 || !hasEnded(pid);
}

bool waitUntilFree(const std::string& name, microseconds longest) {
  const auto end = steady_clock::now() + longest;
  sd_bus* opened = nullptr;
  if (sd_bus_open_user(&opened) < 0) return false;
  const std::unique_ptr<sd_bus, BusClose> bus(opened);
  const std::string rule =
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
      name + "'";
  const auto changed = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
  if (sd_bus_add_match(bus.get(), nullptr, rule.c_str(), changed, nullptr) < 0) return false;
  while (hasOwner(bus.get(), name)) {
    const auto left = std::chrono::duration_cast<microseconds>(end - steady_clock::now());
    if (left <= microseconds::zero()) return false;
    int result = sd_bus_process(bus.get(), nullptr);
    if (result == 0) result = sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left.count()));
    if (result < 0 && result != -EINTR) return false;
  }
  return true;
}

}  // namespace platform::linux_
