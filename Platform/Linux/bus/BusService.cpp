#include "Platform/Linux/bus/BusService.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <utility>

#include "Platform/Linux/bus/ValueMessage.h"

namespace platform::linux_ {
namespace {

const char* typeOf(RemoteType type) {
  return type == RemoteType::kText ? "s" : type == RemoteType::kFlag ? "b" : "a{sv}";
}

std::string signatureOf(const std::vector<RemoteArgument>& arguments) {
  std::string signature;
  for (const RemoteArgument& argument : arguments) signature += typeOf(argument.type);
  return signature;
}

/// Each name is followed by a NUL byte.
std::string namesOf(const std::vector<RemoteArgument>& arguments) {
  std::string names;
  for (const RemoteArgument& argument : arguments) names += argument.name + '\0';
  return names;
}

/// Absent when the text is too long.
std::optional<std::vector<Value>> valuesOf(sd_bus_message* message, const std::vector<RemoteArgument>& takes) {
  std::vector<Value> values;
  for (const RemoteArgument& argument : takes) {
    const char* text = nullptr;
    int flag = 0;
    if (argument.type == RemoteType::kFlag) {
      if (sd_bus_message_read(message, "b", &flag) <= 0) return std::nullopt;
      values.emplace_back(flag != 0);
    } else {
      if (sd_bus_message_read(message, "s", &text) <= 0 || std::strlen(text) > kLongestName) return std::nullopt;
      values.emplace_back(text);
    }
  }
  return values;
}

void reply(sd_bus_message* call, const RemoteAnswer& answer) {
  if (!answer.errorName.empty()) {
    sd_bus_reply_method_errorf(call, answer.errorName.c_str(), "%s", answer.errorText.c_str());
    return;
  }
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_return(call, &made) < 0) return replyThatNoneCanBeGiven(call);
  const BusMessage message(made);
  // A caller that has disconnected meanwhile is no error.
  if (!appendDictionary(made, answer.value) || sd_bus_send(nullptr, made, nullptr) < 0) replyThatNoneCanBeGiven(call);
}

}  // namespace

struct BusService::Description {
  explicit Description(const RemoteInterface& interface) {
    // Filled by hand: sd-bus's macros require literal names.
    sd_bus_vtable start{};
    start.type = _SD_BUS_VTABLE_START;
    start.x.start.element_size = sizeof(sd_bus_vtable);
    start.x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
    start.x.start.vtable_format_reference = &sd_bus_object_vtable_format;
    table.push_back(start);
    for (const RemoteMethod& method : interface.methods) {
      sd_bus_vtable row{};
      row.type = _SD_BUS_VTABLE_METHOD;
      row.flags = SD_BUS_VTABLE_UNPRIVILEGED;
      row.x.method.member = method.name.c_str();
      row.x.method.signature = keep(signatureOf(method.takes));
      row.x.method.result = typeOf(RemoteType::kDictionary);
      row.x.method.handler = &BusService::received;
      row.x.method.names = keep(namesOf(method.takes) + method.returns + '\0');
      table.push_back(row);
    }
    for (const RemoteSignal& signal : interface.signals) {
      sd_bus_vtable row{};
      row.type = _SD_BUS_VTABLE_SIGNAL;
      row.x.signal.member = signal.name.c_str();
      row.x.signal.signature = keep(signatureOf(signal.carries));
      row.x.signal.names = keep(namesOf(signal.carries));
      table.push_back(row);
    }
    sd_bus_vtable end{};
    end.type = _SD_BUS_VTABLE_END;
    table.push_back(end);
  }

  const char* keep(std::string text) { return texts.emplace_back(std::move(text)).c_str(); }

  std::deque<std::string> texts;  // which don't move
  std::vector<sd_bus_vtable> table;
};

BusService::BusService(SessionBus& bus, std::string object, RemoteInterface interface)
    : bus_(bus),
      object_(std::move(object)),
      interface_(std::move(interface)),
      description_(std::make_shared<const Description>(interface_)) {
  sd_bus_slot* slot = nullptr;
  sd_bus_add_object_vtable(bus_.get(), &slot, object_.c_str(), interface_.name.c_str(), description_->table.data(),
                           this);
  slot_.reset(slot);
}

int BusService::received(sd_bus_message* message, void* data, sd_bus_error* error) {
  auto* self = static_cast<BusService*>(data);
  const auto& methods = self->interface_.methods;
  const auto method = std::find_if(methods.begin(), methods.end(), [message](const RemoteMethod& offered) {
    return offered.name == sd_bus_message_get_member(message);
  });
  return method != methods.end() ? self->deliver(*method, message, error) : 0;
}

int BusService::deliver(const RemoteMethod& method, sd_bus_message* message, sd_bus_error* error) {
  auto values = valuesOf(message, method.takes);
  if (!values) return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "an argument is too long");
  if (*pending_ >= kMostPending) {
    bus_.logRefusal("A call beyond those that wait already");
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "too many calls wait for their answers");
  }
  const auto pending = std::make_shared<PendingCall>(bus_.loop(), message, pending_);
  bus_.loop().async([call = method.call, values = std::move(*values), pending] {
    call(values, [pending](const RemoteAnswer& answer) {
      pending->answer([answer](sd_bus_message* waiting) { reply(waiting, answer); });
    });
  });
  return 1;  // handled; the answer comes later, or never
}

void BusService::emit(const std::string& signal, std::vector<Value> values) {
  bus_.loop().async([this, isThere = std::weak_ptr(isThere_), signal, values = std::move(values)] {
    if (!isThere.expired()) send(signal, values);
  });
}

void BusService::send(const std::string& signal, const std::vector<Value>& values) {
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_signal(bus_.get(), &made, object_.c_str(), interface_.name.c_str(), signal.c_str()) < 0) {
    return;
  }
  const BusMessage message(made);
  bool done = true;
  for (const Value& value : values) {
    const auto* text = value.as<std::string>();
    const auto* flag = value.as<bool>();
    const auto* dictionary = value.as<Value::Dictionary>();
    done = done && (text != nullptr         ? sd_bus_message_append(made, "s", text->c_str()) >= 0
                    : flag != nullptr       ? sd_bus_message_append(made, "b", int{*flag}) >= 0
                    : dictionary != nullptr ? appendDictionary(made, *dictionary)
                                            : false);
  }
  if (done) sd_bus_send(bus_.get(), made, nullptr);  // nobody may listen: no error is of interest
}

}  // namespace platform::linux_
