#include "tests/faults/BusFaultPoints.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdarg>

namespace testing_support {
namespace {

struct Armed {
  sd_bus* bus = nullptr;
  std::uint64_t number = 0;
  std::uint64_t count = 0;
  bool isOn = false;
  int pauses = 0;
};

thread_local Armed armed;

bool fails(sd_bus* bus) {
  const bool isMeant = armed.isOn && armed.pauses == 0 && (armed.bus == nullptr || armed.bus == bus);
  return isMeant && ++armed.count == armed.number;
}

bool fails(sd_bus_message* message) {
  return armed.isOn && message != nullptr && fails(sd_bus_message_get_bus(message));
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

BusFaultPoints::BusFaultPoints(sd_bus* bus, std::uint64_t number) {
  armed = {bus, number, 0, true, 0};
}

BusFaultPoints::~BusFaultPoints() {
  armed.isOn = false;
}

std::uint64_t BusFaultPoints::count() const {
  return armed.count;
}

BusFaultPoints::Pause::Pause() {
  ++armed.pauses;
}

BusFaultPoints::Pause::~Pause() {
  --armed.pauses;
}

}  // namespace testing_support

namespace {

using testing_support::fails;
using testing_support::next;

}  // namespace

// NAME(parameters) passed on as (arguments), if it does not fail; `on` is the connection, or a message.
#define TIDEWELL_BUS_CALL(name, parameters, arguments, on) \
  extern "C" int name parameters {                         \
    static const auto real = next<int parameters>(#name);  \
    return fails(on) ? -ENOMEM : real arguments;           \
  }

// The same for a call with any number of arguments, by the library's function that takes them as a list.
#define TIDEWELL_BUS_LIST(name, parameters, listName, listParameters, arguments, last, on) \
  extern "C" int name parameters {                                                         \
    static const auto real = next<int listParameters>(listName);                           \
    if (fails(on)) return -ENOMEM;                                                         \
    va_list rest;                                                                          \
    va_start(rest, last);                                                                  \
    const int result = real arguments;                                                     \
    va_end(rest);                                                                          \
    return result;                                                                         \
  }

TIDEWELL_BUS_CALL(sd_bus_open_user, (sd_bus * *bus), (bus), static_cast<sd_bus*>(nullptr))
TIDEWELL_BUS_CALL(sd_bus_attach_event, (sd_bus * bus, sd_event* loop, int priority), (bus, loop, priority), bus)
TIDEWELL_BUS_CALL(sd_bus_get_unique_name, (sd_bus * bus, const char** name), (bus, name), bus)
TIDEWELL_BUS_CALL(sd_bus_request_name, (sd_bus * bus, const char* name, uint64_t flags), (bus, name, flags), bus)
TIDEWELL_BUS_CALL(sd_bus_message_new_method_call,
                  (sd_bus * bus, sd_bus_message** message, const char* destination, const char* path,
                   const char* interface, const char* member),
                  (bus, message, destination, path, interface, member), bus)
TIDEWELL_BUS_CALL(sd_bus_call_async,
                  (sd_bus * bus, sd_bus_slot** slot, sd_bus_message* message, sd_bus_message_handler_t handler,
                   void* data, uint64_t patience),
                  (bus, slot, message, handler, data, patience), bus)
TIDEWELL_BUS_CALL(sd_bus_match_signal_async,
                  (sd_bus * bus, sd_bus_slot** slot, const char* sender, const char* path, const char* interface,
                   const char* member, sd_bus_message_handler_t handler, sd_bus_message_handler_t installed,
                   void* data),
                  (bus, slot, sender, path, interface, member, handler, installed, data), bus)
TIDEWELL_BUS_CALL(sd_bus_message_open_container, (sd_bus_message * message, char type, const char* contents),
                  (message, type, contents), message)
TIDEWELL_BUS_CALL(sd_bus_message_close_container, (sd_bus_message * message), (message), message)
TIDEWELL_BUS_CALL(sd_bus_message_enter_container, (sd_bus_message * message, char type, const char* contents),
                  (message, type, contents), message)

TIDEWELL_BUS_LIST(sd_bus_message_append, (sd_bus_message * message, const char* types, ...), "sd_bus_message_appendv",
                  (sd_bus_message*, const char*, va_list), (message, types, rest), types, message)
TIDEWELL_BUS_LIST(sd_bus_message_read, (sd_bus_message * message, const char* types, ...), "sd_bus_message_readv",
                  (sd_bus_message*, const char*, va_list), (message, types, rest), types, message)
TIDEWELL_BUS_LIST(sd_bus_call_method_async,
                  (sd_bus * bus, sd_bus_slot** slot, const char* destination, const char* path, const char* interface,
                   const char* member, sd_bus_message_handler_t handler, void* data, const char* types, ...),
                  "sd_bus_call_method_asyncv",
                  (sd_bus*, sd_bus_slot**, const char*, const char*, const char*, const char*, sd_bus_message_handler_t,
                   void*, const char*, va_list),
                  (bus, slot, destination, path, interface, member, handler, data, types, rest), types, bus)
