#include "Platform/Linux/bus/AnnouncedQuits.h"

#include <utility>

namespace platform::linux_ {

AnnouncedQuits::AnnouncedQuits(SessionBus& bus, Handler handler) : loop_(bus.loop()), handler_(std::move(handler)) {
  const auto announced = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    auto* self = static_cast<AnnouncedQuits*>(data);
    const char* name = nullptr;
    const char* identifier = nullptr;
    if (sd_bus_message_has_signature(signal, "ss") > 0 && sd_bus_message_read(signal, "ss", &name, &identifier) >= 0) {
      self->loop_.async(
          [self, name = std::string(name), identifier = std::string(identifier)] { self->handler_(name, identifier); });
    }
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus.get(), &slot, nullptr, nullptr, "com.emberlinestudio.Tidewell.Workspace",
                            "DidTerminateApplication", announced, nullptr, this);
  slot_.reset(slot);
}

}  // namespace platform::linux_
