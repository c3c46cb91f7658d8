#include "Platform/Linux/bus/ShutdownDelay.h"

#include <fcntl.h>

#include <utility>

namespace platform::linux_ {
namespace {

constexpr char kManager[] = "org.freedesktop.login1";
constexpr char kManagerPath[] = "/org/freedesktop/login1";
constexpr char kManagerInterface[] = "org.freedesktop.login1.Manager";
constexpr std::uint64_t kPatienceMicroseconds = 5'000'000;

struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};

}  // namespace

struct ShutdownDelay::Connection {
  std::unique_ptr<sd_bus, BusClose> bus;
  BusSlot call;
  FileDescriptor delay;  // holds as long as it is open
};

ShutdownDelay::ShutdownDelay(RunLoop& loop, std::string who, std::string why)
    : loop_(loop), who_(std::move(who)), why_(std::move(why)) {}

ShutdownDelay::~ShutdownDelay() = default;

void ShutdownDelay::begin() {
  if (connection_) return;
  sd_bus* bus = nullptr;
  if (sd_bus_open_system(&bus) < 0) return;
  auto connection = std::make_unique<Connection>();
  connection->bus.reset(bus);
  sd_bus_message* message = nullptr;
  if (sd_bus_attach_event(bus, loop_.event(), SD_EVENT_PRIORITY_NORMAL) < 0 ||
      sd_bus_message_new_method_call(bus, &message, kManager, kManagerPath, kManagerInterface, "Inhibit") < 0) {
    return;
  }
  const BusMessage call(message);
  sd_bus_message_set_auto_start(message, 0);
  const auto answered = [](sd_bus_message* answer, void* self, sd_bus_error*) {
    static_cast<ShutdownDelay*>(self)->received(answer);
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_message_append(message, "ssss", "shutdown", who_.c_str(), why_.c_str(), "delay") < 0 ||
      sd_bus_call_async(bus, &slot, message, answered, this, kPatienceMicroseconds) < 0) {
    return;
  }
  connection->call.reset(slot);
  connection_ = std::move(connection);
}

void ShutdownDelay::end() {
  connection_ = nullptr;
}

void ShutdownDelay::received(sd_bus_message* answer) {
  int descriptor = -1;  // the message's own
  if (sd_bus_message_is_method_error(answer, nullptr) != 0 || sd_bus_message_read(answer, "h", &descriptor) < 0) return;
  connection_->delay.reset(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

}  // namespace platform::linux_
