#include "Platform/Linux/bus/SessionEnd.h"

#include <systemd/sd-daemon.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>

namespace platform::linux_ {
namespace {

// The interface of systemd's managers, which is stable: org.freedesktop.systemd1(5).
constexpr char kManager[] = "org.freedesktop.systemd1";
constexpr char kManagerPath[] = "/org/freedesktop/systemd1";
constexpr char kManagerInterface[] = "org.freedesktop.systemd1.Manager";
constexpr char kPrivateSocket[] = "/systemd/private";  // in the run-time folder; answers also when the bus has gone
constexpr std::uint64_t kPatienceMicroseconds = 500'000;

// Each time that more time is asked for, for as long as it takes.
constexpr std::chrono::seconds kBetweenRequests{10};
constexpr char kStopping[] = "STOPPING=1\nSTATUS=Cleaning before the session ends\nEXTEND_TIMEOUT_USEC=30000000";

struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using OwnBus = std::unique_ptr<sd_bus, BusClose>;

/// "running", "degraded", "stopping" …; "" when nobody answers.
std::string systemState(sd_bus* bus, const char* name) {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus, &call, name, kManagerPath, "org.freedesktop.DBus.Properties", "Get") < 0) {
    return "";
  }
  const BusMessage owned(call);
  sd_bus_message_set_auto_start(call, 0);
  sd_bus_message* answer = nullptr;
  if (sd_bus_message_append(call, "ss", kManagerInterface, "SystemState") < 0 ||
      sd_bus_call(bus, call, kPatienceMicroseconds, nullptr, &answer) < 0) {
    return "";
  }
  const BusMessage ownedAnswer(answer);
  const char* state = nullptr;
  return sd_bus_message_read(answer, "v", "s", &state) > 0 && state != nullptr ? state : "";
}

OwnBus privateBus() {
  const char* folder = ::secure_getenv("XDG_RUNTIME_DIR");
  sd_bus* bus = nullptr;
  if (folder == nullptr || sd_bus_new(&bus) < 0) return nullptr;
  OwnBus owned(bus);
  const std::string address = std::string("unix:path=") + folder + kPrivateSocket;
  const bool isOpen = sd_bus_set_address(bus, address.c_str()) >= 0 && sd_bus_start(bus) >= 0;
  return isOpen ? std::move(owned) : nullptr;
}

}  // namespace

bool isServiceManagerStopping(sd_bus* bus) {
  std::string state;
  if (sd_bus_is_open(bus) > 0) state = systemState(bus, kManager);
  if (state.empty()) {
    if (const OwnBus own = privateBus()) state = systemState(own.get(), nullptr);
  }
  return state == "stopping";
}

SessionEnd::SessionEnd(SessionBus& bus, std::function<void(Task done)> finish) : bus_(bus), finish_(std::move(finish)) {
  bus_.loop().setTerminationHandler([this] { terminate(); });
  bus_.setDisconnectHandler([this] { this->finish(EXIT_FAILURE); });
}

void SessionEnd::terminate() {
  if (!isFinishing_ && !isServiceManagerStopping(bus_.get())) return bus_.loop().stop(EXIT_SUCCESS);
  finish(EXIT_SUCCESS);
}

void SessionEnd::finish(int status) {
  if (std::exchange(isFinishing_, true)) return;
  askForTime();
  finish_([loop = &bus_.loop(), status] { loop->stop(status); });
}

void SessionEnd::askForTime() {
  sd_notify(0, kStopping);  // does nothing where no service manager listens
  bus_.loop().after(kBetweenRequests, [this] { askForTime(); });
}

}  // namespace platform::linux_
