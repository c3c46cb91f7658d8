// Loaded into a program (LD_PRELOAD), this kills it at the system call for files that TIDEWELL_KILL_AT numbers: of all
// threads but the first, on which a worker does its cleaning.

#include <cstdlib>
#include <string>

#include "tests/faults/FaultPoints.h"

namespace {

struct KillAt {
  KillAt() {
    if (const char* number = std::getenv("TIDEWELL_KILL_AT")) testing_support::killProgramAt(std::stoull(number));
  }
} killAt;

}  // namespace
