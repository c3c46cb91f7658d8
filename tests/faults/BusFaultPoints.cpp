#include "tests/faults/BusFaultPoints.h"

#include <dlfcn.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
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
  BusFault fault = BusFault::kFails;
};

thread_local Armed armed;

bool fails(sd_bus* bus) {
  const bool isMeant =
      armed.isOn && armed.fault == BusFault::kFails && armed.pauses == 0 && (armed.bus == nullptr || armed.bus == bus);
  return isMeant && ++armed.count == armed.number;
}

bool fails(sd_bus_message* message) {
  return armed.isOn && message != nullptr && fails(sd_bus_message_get_bus(message));
}

/// Whether the fault happens to a system call for messages of that socket.
bool happensTo(int socket) {
  if (!armed.isOn || armed.fault == BusFault::kFails || armed.pauses != 0) return false;
  const bool isMeant = armed.bus == nullptr || sd_bus_get_fd(armed.bus) == socket;
  return isMeant && ++armed.count == armed.number;
}

/// The beginning of what is sent or received.
class Part {
 public:
  explicit Part(const msghdr& whole) : message_(whole) {
    if (whole.msg_iovlen == 0) return;
    first_ = whole.msg_iov[0];
    first_.iov_len = std::max<std::size_t>(1, first_.iov_len / 2);
    message_.msg_iov = &first_;
    message_.msg_iovlen = 1;
  }
  msghdr* message() { return &message_; }

 private:
  msghdr message_;
  iovec first_{};
};

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

BusFaultPoints::BusFaultPoints(sd_bus* bus, std::uint64_t number, BusFault fault) {
  armed = {bus, number, 0, true, 0, fault};
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

using testing_support::armed;
using testing_support::BusFault;
using testing_support::fails;
using testing_support::happensTo;
using testing_support::next;
using testing_support::Part;

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

TIDEWELL_BUS_CALL(sd_bus_add_object_vtable,
                  (sd_bus * bus, sd_bus_slot** slot, const char* path, const char* interface,
                   const sd_bus_vtable* table, void* data),
                  (bus, slot, path, interface, table, data), bus)
TIDEWELL_BUS_CALL(sd_bus_message_has_signature, (sd_bus_message * message, const char* types), (message, types),
                  message)
TIDEWELL_BUS_CALL(sd_bus_message_new_method_return, (sd_bus_message * call, sd_bus_message** message), (call, message),
                  call)
TIDEWELL_BUS_CALL(sd_bus_message_new_signal,
                  (sd_bus * bus, sd_bus_message** message, const char* path, const char* interface, const char* member),
                  (bus, message, path, interface, member), bus)
TIDEWELL_BUS_CALL(sd_bus_call,
                  (sd_bus * bus, sd_bus_message* message, uint64_t patience, sd_bus_error* error,
                   sd_bus_message** answer),
                  (bus, message, patience, error, answer), bus)
TIDEWELL_BUS_CALL(sd_bus_send, (sd_bus * bus, sd_bus_message* message, uint64_t* cookie), (bus, message, cookie),
                  bus != nullptr ? bus : sd_bus_message_get_bus(message))
TIDEWELL_BUS_LIST(sd_bus_reply_method_return, (sd_bus_message * call, const char* types, ...),
                  "sd_bus_reply_method_returnv", (sd_bus_message*, const char*, va_list), (call, types, rest), types,
                  call)
TIDEWELL_BUS_LIST(sd_bus_reply_method_errorf, (sd_bus_message * call, const char* name, const char* format, ...),
                  "sd_bus_reply_method_errorfv", (sd_bus_message*, const char*, const char*, va_list),
                  (call, name, format, rest), format, call)

extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags) {
  static const auto real = next<ssize_t(int, const msghdr*, int)>("sendmsg");
  if (!happensTo(socket)) return real(socket, message, flags);
  if (armed.fault == BusFault::kIsShort) return real(socket, Part(*message).message(), flags);
  errno = EINTR;
  return -1;
}

extern "C" ssize_t recvmsg(int socket, msghdr* message, int flags) {
  static const auto real = next<ssize_t(int, msghdr*, int)>("recvmsg");
  if (!happensTo(socket)) return real(socket, message, flags);
  if (armed.fault == BusFault::kIsInterrupted) {
    errno = EINTR;
    return -1;
  }
  Part part(*message);
  const ssize_t received = real(socket, part.message(), flags);
  message->msg_controllen = part.message()->msg_controllen;
  message->msg_flags = part.message()->msg_flags;
  return received;
}
