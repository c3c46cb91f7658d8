#include "Platform/Linux/bus/BusApplications.h"

#include <algorithm>

namespace platform::linux_ {
namespace {

constexpr char kInterface[] = "org.freedesktop.Application";

/// "com.example.App" is at "/com/example/App".
std::string objectOf(const std::string& name) {
  std::string object = "/" + name;
  std::replace(object.begin(), object.end(), '.', '/');
  std::replace(object.begin(), object.end(), '-', '_');
  return object;
}

}  // namespace

void openApplication(SessionBus& bus, const std::string& name, const std::string& item,
                     const std::string& activationToken) {
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus.get(), &message, name.c_str(), objectOf(name).c_str(), kInterface,
                                     "ActivateAction") < 0) {
    return;
  }
  const BusMessage call(message);
  sd_bus_message_append(message, "sav", kShowAction, 1, "s", item.c_str());
  sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
  if (!activationToken.empty()) {
    for (const char* key : {"activation-token", "desktop-startup-id"}) {
      sd_bus_message_append(message, "{sv}", key, "s", activationToken.c_str());
    }
  }
  sd_bus_message_close_container(message);
  sd_bus_message_set_expect_reply(message, 0);
  sd_bus_send(bus.get(), message, nullptr);
}

}  // namespace platform::linux_
