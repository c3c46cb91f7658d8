// Serves an interface of an object on the session bus, beside others of the same object.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Linux/bus/PendingCall.h"
#include "Platform/RemoteService.h"

namespace platform::linux_ {

/// A call with other arguments than the method takes is answered with the bus's own error, as is one whose text is
/// longer than kLongestName, and each one beyond kMostPending that wait for their answers.
class BusService : public RemoteService {
 public:
  static constexpr unsigned kMostPending = 256;

  /// Serves it from now on, calls and introspection. On the main thread; the bus must outlive the object, and every
  /// reply that is kept.
  BusService(SessionBus& bus, std::string object, RemoteInterface interface);
  BusService(const BusService&) = delete;
  BusService& operator=(const BusService&) = delete;

  void emit(const std::string& signal, std::vector<Value> values) override;

 private:
  struct Description;  // what sd-bus keeps pointers to

  static int received(sd_bus_message* message, void* data, sd_bus_error* error);
  int deliver(const RemoteMethod& method, sd_bus_message* message, sd_bus_error* error);
  void send(const std::string& signal, const std::vector<Value>& values);

  SessionBus& bus_;
  const std::string object_;
  const RemoteInterface interface_;
  const std::shared_ptr<const Description> description_;
  BusSlot slot_;
  const PendingCall::Count pending_ = std::make_shared<std::atomic<unsigned>>(0);
  const std::shared_ptr<bool> isThere_ = std::make_shared<bool>(true);
};

}  // namespace platform::linux_
