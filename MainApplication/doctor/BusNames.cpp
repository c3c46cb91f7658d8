#include "MainApplication/doctor/BusNames.h"

#include <cstdlib>
#include <cstring>

namespace tidewell {
namespace {

using platform::linux_::BusMessage;

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kBusObject[] = "/org/freedesktop/DBus";
constexpr char kManager[] = "org.freedesktop.systemd1";
constexpr char kManagerObject[] = "/org/freedesktop/systemd1";
constexpr char kManagerInterface[] = "org.freedesktop.systemd1.Manager";
constexpr char kUnitInterface[] = "org.freedesktop.systemd1.Unit";
constexpr std::uint64_t kPatience = 5'000'000;  // microseconds

/// The reply to a method with one text; null for an error.
BusMessage replyTo(sd_bus* bus, const char* service, const char* object, const char* interface, const char* method,
                   const std::string& argument) {
  sd_bus_message* reply = nullptr;
  sd_bus_call_method(bus, service, object, interface, method, nullptr, &reply, "s", argument.c_str());
  return BusMessage(reply);
}

std::string textIn(const BusMessage& reply, const char* signature) {
  const char* text = nullptr;
  return reply && sd_bus_message_read(reply.get(), signature, &text) > 0 ? text : "";
}

bool isActivatable(sd_bus* bus, const std::string& name) {
  sd_bus_message* list = nullptr;
  sd_bus_call_method(bus, kBus, kBusObject, kBus, "ListActivatableNames", nullptr, &list, nullptr);
  const BusMessage reply(list);
  bool isFound = false;
  const char* each = nullptr;
  if (!reply || sd_bus_message_enter_container(reply.get(), 'a', "s") < 0) return false;
  while (sd_bus_message_read(reply.get(), "s", &each) > 0) isFound |= name == each;
  return isFound;
}

}  // namespace

Reach BusNames::reachOf(const std::string& name) const {
  int isOwned = 0;
  const BusMessage reply = replyTo(bus_, kBus, kBusObject, kBus, "NameHasOwner", name);
  if (reply) sd_bus_message_read(reply.get(), "b", &isOwned);
  if (isOwned != 0) return Reach::kNow;
  return isActivatable(bus_, name) ? Reach::kWhenCalled : Reach::kNot;
}

bool BusNames::answers(const std::string& name, const std::string& object) const {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus_, &call, name.c_str(), object.c_str(), "org.freedesktop.DBus.Peer", "Ping") <
      0) {
    return false;
  }
  const BusMessage ping(call);
  return sd_bus_call(bus_, ping.get(), kPatience, nullptr, nullptr) >= 0;
}

std::optional<BusNames::Unit> BusNames::unit(const std::string& name) const {
  if (reachOf(kManager) != Reach::kNow) return std::nullopt;
  Unit unit;
  unit.startsWithSession =
      textIn(replyTo(bus_, kManager, kManagerObject, kManagerInterface, "GetUnitFileState", name), "s");
  if (unit.startsWithSession.empty()) return unit;
  const std::string object = textIn(replyTo(bus_, kManager, kManagerObject, kManagerInterface, "LoadUnit", name), "o");
  char* state = nullptr;
  if (!object.empty() &&
      sd_bus_get_property_string(bus_, kManager, object.c_str(), kUnitInterface, "ActiveState", nullptr, &state) >= 0) {
    unit.state = state;
    std::free(state);
  }
  return unit;
}

}  // namespace tidewell
