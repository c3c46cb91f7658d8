#include "Platform/Linux/bus/AnnouncedQuits.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace platform::linux_ {
namespace {

constexpr std::string_view kQuit = "DidTerminateApplication";
constexpr std::string_view kAllTheSame = "CleanAllTheSame";

}  // namespace

AnnouncedQuits::AnnouncedQuits(SessionBus& bus, Handler handler) : bus_(bus), handler_(std::move(handler)) {
  const auto announced = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    auto* self = static_cast<AnnouncedQuits*>(data);
    const char* name = nullptr;
    const char* identifier = nullptr;
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member != kQuit && member != kAllTheSame) return 0;
    if (sd_bus_message_has_signature(signal, "ss") <= 0 || sd_bus_message_read(signal, "ss", &name, &identifier) < 0) {
      return 0;
    }
    if (std::strlen(name) > kLongestName || std::strlen(identifier) > kLongestName) {
      self->bus_.logRefusal("An announced quit with a name that is too long");
      return 0;
    }
    self->bus_.loop().async(
        [self, quit = ApplicationNotification{name, identifier, {}, member == kAllTheSame}] { self->handler_(quit); });
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus.get(), &slot, nullptr, nullptr, "com.emberlinestudio.Tidewell.Workspace", nullptr,
                            announced, nullptr, this);
  slot_.reset(slot);
}

}  // namespace platform::linux_
