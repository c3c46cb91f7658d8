// The calls of the bus's library, and its own system calls for messages, each of which can be made to go wrong, by its
// number.
//
// The program's own functions of these names replace the libraries'.
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>

namespace testing_support {

enum class BusFault {
  kFails,          // a call of the library, for want of memory
  kIsInterrupted,  // a system call, by a signal; it has done nothing
  kIsShort,        // a system call sends or receives a part only
};

/// While it lives, the calls for one connection are counted, as far as the fault can happen to them, and it happens to
/// one of them. One object at a time; on the main thread, like everything of the bus.
class BusFaultPoints {
 public:
  /// `bus` is null for all connections. `number` counts from 1; 0 for none.
  BusFaultPoints(sd_bus* bus, std::uint64_t number, BusFault fault = BusFault::kFails);
  ~BusFaultPoints();
  BusFaultPoints(const BusFaultPoints&) = delete;
  BusFaultPoints& operator=(const BusFaultPoints&) = delete;

  std::uint64_t count() const;

  /// While it lives, nothing is counted and nothing fails: for the test's own calls.
  class Pause {
   public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
  };
};

}  // namespace testing_support
