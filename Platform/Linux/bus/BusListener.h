// Serves one method of one object on the session bus.
#pragma once

#include <array>
#include <string>

#include "Platform/Linux/bus/PendingCall.h"
#include "Platform/Linux/bus/SessionBus.h"
#include "Platform/RemoteListener.h"

namespace platform::linux_ {

/// The names of a service on the bus.
struct BusServiceNames {
  std::string name;    // the service's bus name
  std::string object;  // the object's path
  std::string interface;
  std::string method;         // takes a string and returns one
  std::string argumentNames;  // of both, for introspection: two names, each followed by a NUL byte

  /// For a program's identifier such as "A1.com.example.App": the bus name, with an underscore before a leading digit,
  /// and the object path, made of the identifier from its first dot on.
  static BusServiceNames forIdentifier(const std::string& bundleIdentifier, std::string interface, std::string method,
                                       std::string argumentNames);
};

/// A call whose argument is longer than kLongestName is dropped. While kMostPending calls wait for their replies,
/// further ones are answered with an error.
class BusListener : public RemoteListener {
 public:
  static constexpr unsigned kMostPending = 2048;

  /// The bus must outlive the object, and every reply that is kept.
  BusListener(SessionBus& bus, BusServiceNames names);

  /// Takes the service's name; std::errc::file_exists when another process has it. Nothing is served before resume().
  std::error_code requestName() { return bus_.requestName(names_.name); }

  void setDelegate(RemoteListenerDelegate* delegate) override { delegate_ = delegate; }
  void resume() override;

 private:
  static int received(sd_bus_message* message, void* data, sd_bus_error* error);
  void deliver(sd_bus_message* message);

  SessionBus& bus_;
  const BusServiceNames names_;
  std::array<sd_bus_vtable, 3> table_{};
  BusSlot slot_;
  RemoteListenerDelegate* delegate_ = nullptr;
  const PendingCall::Count pending_ = std::make_shared<std::atomic<unsigned>>(0);
};

}  // namespace platform::linux_
