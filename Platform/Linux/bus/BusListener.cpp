#include "Platform/Linux/bus/BusListener.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "Platform/Linux/bus/PendingCall.h"

namespace platform::linux_ {
namespace {

class BusConnection : public RemoteConnection {
 public:
  void setExportedInterface(ExportedInterface exported) override { exported_ = std::move(exported); }
  void resume() override { resumed_ = true; }

  bool serves(const BusServiceNames& names) const {
    return resumed_ && exported_.call && exported_.interface == names.interface && exported_.method == names.method;
  }
  const ExportedInterface& exported() const { return exported_; }

 private:
  ExportedInterface exported_;
  bool resumed_ = false;
};

}  // namespace

BusServiceNames BusServiceNames::forIdentifier(const std::string& bundleIdentifier, std::string interface,
                                               std::string method, std::string argumentNames) {
  BusServiceNames names;
  const bool beginsWithDigit = !bundleIdentifier.empty() && bundleIdentifier[0] >= '0' && bundleIdentifier[0] <= '9';
  names.name = (beginsWithDigit ? "_" : "") + bundleIdentifier;
  names.object = bundleIdentifier.substr(std::min(bundleIdentifier.find('.'), bundleIdentifier.size()));
  std::replace(names.object.begin(), names.object.end(), '.', '/');
  names.interface = std::move(interface);
  names.method = std::move(method);
  names.argumentNames = std::move(argumentNames);
  return names;
}

BusListener::BusListener(SessionBus& bus, BusServiceNames names) : bus_(bus), names_(std::move(names)) {}

void BusListener::resume() {
  // Filled by hand: sd-bus's macros require literal names.
  table_[0].type = _SD_BUS_VTABLE_START;
  table_[0].x.start.element_size = sizeof(sd_bus_vtable);
  table_[0].x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
  table_[0].x.start.vtable_format_reference = &sd_bus_object_vtable_format;
  table_[1].type = _SD_BUS_VTABLE_METHOD;
  table_[1].flags = SD_BUS_VTABLE_UNPRIVILEGED;
  table_[1].x.method.member = names_.method.c_str();
  table_[1].x.method.signature = "s";
  table_[1].x.method.result = "s";
  table_[1].x.method.handler = &BusListener::received;
  table_[1].x.method.names = names_.argumentNames.c_str();
  table_[2].type = _SD_BUS_VTABLE_END;
  sd_bus_slot* slot = nullptr;
  sd_bus_add_object_vtable(bus_.get(), &slot, names_.object.c_str(), names_.interface.c_str(), table_.data(), this);
  slot_.reset(slot);
}

int BusListener::received(sd_bus_message* message, void* data, sd_bus_error*) {
  auto* self = static_cast<BusListener*>(data);
  self->bus_.loop().async(
      [self, call = SharedBusMessage(sd_bus_message_ref(message), MessageUnref())] { self->deliver(call.get()); });
  return 1;  // handled; the reply comes later, or never
}

void BusListener::deliver(sd_bus_message* message) {
  BusConnection connection;
  if (delegate_ == nullptr || !delegate_->listener_shouldAcceptNewConnection(connection) ||
      !connection.serves(names_)) {
    return;
  }
  const char* argument = nullptr;
  if (sd_bus_message_read(message, "s", &argument) < 0) return replyThatNoneCanBeGiven(message);
  if (std::strlen(argument) > kLongestName) return bus_.logRefusal("A request with an argument that is too long");
  if (*pending_ >= kMostPending) {
    bus_.logRefusal("A request beyond those that wait already");
    sd_bus_reply_method_errorf(message, SD_BUS_ERROR_LIMITS_EXCEEDED, "too many calls wait for their replies");
    return;
  }
  const auto pending = std::make_shared<PendingCall>(bus_.loop(), message, pending_);
  connection.exported().call(argument, [pending](const std::string& text) {
    // A caller that has disconnected meanwhile is no error.
    pending->answer([text](sd_bus_message* call) {
      if (sd_bus_reply_method_return(call, "s", text.c_str()) < 0) replyThatNoneCanBeGiven(call);
    });
  });
}

}  // namespace platform::linux_
