// The system calls for files, each of which can be made to go wrong, by its number.
//
// The program's own functions of these names replace the C library's, for the libraries that it uses too. They make the
// real calls.
#pragma once

#include <cstdint>

namespace testing_support {

enum class Fault {
  kFails,          // with an error that the call can have
  kIsInterrupted,  // by a signal; the call has done nothing
  kIsShort,        // reads or writes a part only
  kIsTheLast,      // the process is killed instead
};

/// While it lives, the calls of all threads are counted, as far as the fault can happen to them, and it happens to one
/// of them. One object at a time. The numbers are the same each time where one thread works while the others wait.
class FaultPoints {
 public:
  /// `number` counts from 1; 0 for none.
  FaultPoints(Fault fault, std::uint64_t number);
  ~FaultPoints();
  FaultPoints(const FaultPoints&) = delete;
  FaultPoints& operator=(const FaultPoints&) = delete;

  std::uint64_t count() const;
};

/// From now on the program is killed at that call of all threads but its first, counted from 1.
void killProgramAt(std::uint64_t number);

}  // namespace testing_support
