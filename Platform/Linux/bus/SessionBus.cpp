#include "Platform/Linux/bus/SessionBus.h"

#include <chrono>
#include <utility>

#include "Platform/Linux/bus/NameOwner.h"
#include "Platform/Linux/host/LineLog.h"

namespace platform::linux_ {
namespace {

constexpr std::chrono::seconds kLongestWaitForName{10};

std::error_code errorFrom(int result) {
  return {-result, std::generic_category()};
}

}  // namespace

Result<std::unique_ptr<SessionBus>> SessionBus::open(RunLoop& loop) {
  std::unique_ptr<SessionBus> bus(new SessionBus(loop));
  int result = sd_bus_open_user(&bus->bus_);
  if (result >= 0) result = sd_bus_attach_event(bus->bus_, loop.event(), SD_EVENT_PRIORITY_NORMAL);
  const char* uniqueName = nullptr;
  if (result >= 0) result = sd_bus_get_unique_name(bus->bus_, &uniqueName);  // waits until the bus has accepted us
  if (result < 0) return errorFrom(result);
  return bus;
}

SessionBus::~SessionBus() {
  disconnectSlot_.reset();
  // Sends what is still queued.
  sd_bus_flush_close_unref(bus_);
}

std::error_code SessionBus::requestName(const std::string& name) {
  int result = sd_bus_request_name(bus_, name.c_str(), 0);
  if (result == -EEXIST && !ownerRuns(bus_, name) && waitUntilFree(name, kLongestWaitForName)) {
    result = sd_bus_request_name(bus_, name.c_str(), 0);
  }
  if (result == -EALREADY) return {};  // it is ours already
  return result < 0 ? errorFrom(result) : std::error_code();
}

void SessionBus::logRefusal(const std::string& what) {
  if (refusals_.insert(what).second) LineLog().log(what + " was refused");
}

void SessionBus::setDisconnectHandler(Task handler) {
  disconnectHandler_ = std::move(handler);
  sd_bus_slot* slot = nullptr;
  const auto disconnected = [](sd_bus_message*, void* data, sd_bus_error*) {
    auto* self = static_cast<SessionBus*>(data);
    self->loop_.async(self->disconnectHandler_);
    return 0;
  };
  sd_bus_match_signal_async(bus_, &slot, "org.freedesktop.DBus.Local", "/org/freedesktop/DBus/Local",
                            "org.freedesktop.DBus.Local", "Disconnected", disconnected, nullptr, this);
  disconnectSlot_.reset(slot);
}

}  // namespace platform::linux_
