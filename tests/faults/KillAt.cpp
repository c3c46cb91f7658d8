// Loaded into a program (LD_PRELOAD), this kills it at a system call: at the one for files that TIDEWELL_KILL_AT
// numbers, of all threads but the first, on which a worker does its cleaning; or at the one for messages that
// TIDEWELL_KILL_AT_MESSAGE numbers, on the first thread, which is the bus's.

#include <dlfcn.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/faults/FaultPoints.h"

namespace {

std::uint64_t lastMessage = 0;  // 0 for none
std::uint64_t messages = 0;

struct KillAt {
  KillAt() {
    if (const char* number = std::getenv("TIDEWELL_KILL_AT")) testing_support::killProgramAt(std::stoull(number));
    if (const char* number = std::getenv("TIDEWELL_KILL_AT_MESSAGE")) lastMessage = std::stoull(number);
  }
} killAt;

void count() {
  if (lastMessage != 0 && ::gettid() == ::getpid() && ++messages == lastMessage) ::kill(::getpid(), SIGKILL);
}

}  // namespace

extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags) {
  static const auto real = reinterpret_cast<ssize_t (*)(int, const msghdr*, int)>(::dlsym(RTLD_NEXT, "sendmsg"));
  count();
  return real(socket, message, flags);
}

extern "C" ssize_t recvmsg(int socket, msghdr* message, int flags) {
  static const auto real = reinterpret_cast<ssize_t (*)(int, msghdr*, int)>(::dlsym(RTLD_NEXT, "recvmsg"));
  count();
  return real(socket, message, flags);
}
