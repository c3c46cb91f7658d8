#include "Platform/Linux/bus/AnnouncedQuits.h"

#include <string_view>
#include <utility>

namespace platform::linux_ {
namespace {

constexpr std::string_view kQuit = "DidTerminateApplication";
constexpr std::string_view kAllTheSame = "CleanAllTheSame";

}  // namespace

AnnouncedQuits::AnnouncedQuits(SessionBus& bus, Handler handler) : loop_(bus.loop()), handler_(std::move(handler)) {
  const auto announced = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    auto* self = static_cast<AnnouncedQuits*>(data);
    const char* name = nullptr;
    const char* identifier = nullptr;
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member != kQuit && member != kAllTheSame) return 0;
    if (sd_bus_message_has_signature(signal, "ss") > 0 && sd_bus_message_read(signal, "ss", &name, &identifier) >= 0) {
      self->loop_.async([self, quit = ApplicationNotification{name, identifier, {}, member == kAllTheSame}] {
        self->handler_(quit);
      });
    }
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus.get(), &slot, nullptr, nullptr, "com.emberlinestudio.Tidewell.Workspace", nullptr,
                            announced, nullptr, this);
  slot_.reset(slot);
}

}  // namespace platform::linux_
