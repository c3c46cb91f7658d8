// The calls of the bus's library, each of which can be made to fail, by its number.
//
// The program's own functions of these names replace the library's.
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>

namespace testing_support {

/// While it lives, the calls for one connection are counted, and one of them fails. One object at a time; on the main
/// thread, like everything of the bus.
class BusFaultPoints {
 public:
  /// `bus` is null for all connections. `number` counts from 1; 0 for none.
  BusFaultPoints(sd_bus* bus, std::uint64_t number);
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
