// The connection to the person's session bus.
//
// On the main thread only, like everything of sd-bus: other threads hand tasks to the run loop.
#pragma once

#include <systemd/sd-bus.h>

#include <memory>
#include <set>
#include <string>

#include "Platform/Linux/threads/RunLoop.h"
#include "Platform/Result.h"

namespace platform::linux_ {

/// In bytes: the longest name or identifier that is taken from the bus. D-Bus has the same bound for its own names.
inline constexpr std::size_t kLongestName = 255;

struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
/// A pending call, an exported object or a match; released with this pointer.
using BusSlot = std::unique_ptr<sd_bus_slot, SlotUnref>;

struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, MessageUnref>;

class SessionBus {
 public:
  /// Connects; the error says why there is no bus. The loop must outlive the object.
  static Result<std::unique_ptr<SessionBus>> open(RunLoop& loop);
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  sd_bus* get() const { return bus_; }
  RunLoop& loop() const { return loop_; }

  /// Takes a name; std::errc::file_exists when another process of the session has it. Where that has ended, and the bus
  /// does not know it yet, waits for the name, 10 seconds at most.
  std::error_code requestName(const std::string& name);

  /// Logs that something from the bus was not taken in; each `what` once, since whoever sent it can send it again.
  void logRefusal(const std::string& what);

  /// Called once when the bus has gone away; the session has then ended.
  void setDisconnectHandler(Task handler);

 private:
  explicit SessionBus(RunLoop& loop) : loop_(loop) {}

  RunLoop& loop_;
  sd_bus* bus_ = nullptr;
  BusSlot disconnectSlot_;
  Task disconnectHandler_;
  std::set<std::string> refusals_;
};

}  // namespace platform::linux_
