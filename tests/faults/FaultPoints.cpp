#include "tests/faults/FaultPoints.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace testing_support {
namespace {

struct Armed {
  std::atomic<bool> isArmed = false;
  std::atomic<Fault> fault = Fault::kFails;
  std::atomic<std::uint64_t> number = 0;
  std::atomic<std::uint64_t> count = 0;
};

Armed armed;

/// For programs that are killed whole: counts the calls of all threads but the first. 0 for none.
std::atomic<std::uint64_t> lastOfProgram = 0;
std::atomic<std::uint64_t> callsOfProgram = 0;

/// What can happen to a call.
struct Call {
  int error;
  bool canBeInterrupted = false;
  bool canBeShort = false;
};

bool canHappen(const Call& call) {
  if (armed.fault == Fault::kIsInterrupted) return call.canBeInterrupted;
  return armed.fault != Fault::kIsShort || call.canBeShort;
}

enum class Turn { kReal, kShort, kFailed };

/// What becomes of the call; sets errno for kFailed.
Turn turnOf(const Call& call) {
  if (lastOfProgram != 0 && ::gettid() != ::getpid() && ++callsOfProgram == lastOfProgram) ::kill(::getpid(), SIGKILL);
  if (!armed.isArmed || !canHappen(call) || ++armed.count != armed.number) return Turn::kReal;
  switch (armed.fault) {
    case Fault::kFails:
      errno = call.error;
      return Turn::kFailed;
    case Fault::kIsInterrupted:
      errno = EINTR;
      return Turn::kFailed;
    case Fault::kIsShort:
      return Turn::kShort;
    case Fault::kIsTheLast:
      ::kill(::getpid(), SIGKILL);
      break;
  }
  return Turn::kReal;
}

constexpr Call kOpen{EMFILE, true};
constexpr Call kRead{EIO, true, true};
constexpr Call kWrite{ENOSPC, true, true};
constexpr Call kLock{ENOLCK, true};
constexpr Call kFlush{EIO, true};
constexpr Call kChange{EIO};
constexpr Call kLook{EIO};

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

FaultPoints::FaultPoints(Fault fault, std::uint64_t number) {
  armed.fault = fault;
  armed.number = number;
  armed.count = 0;
  armed.isArmed = true;
}

FaultPoints::~FaultPoints() {
  armed.isArmed = false;
}

std::uint64_t FaultPoints::count() const {
  return armed.count;
}

void killProgramAt(std::uint64_t number) {
  lastOfProgram = number;
}

}  // namespace testing_support

namespace {

using testing_support::kChange;
using testing_support::kFlush;
using testing_support::kLock;
using testing_support::kLook;
using testing_support::kOpen;
using testing_support::kRead;
using testing_support::kWrite;
using testing_support::next;
using testing_support::Turn;
using testing_support::turnOf;

}  // namespace

// NAME(parameters) passed on as (arguments).
#define TIDEWELL_CALL(result, name, parameters, arguments, call)                     \
  extern "C" result name parameters {                                                \
    static const auto real = next<result parameters>(#name);                         \
    return turnOf(call) == Turn::kFailed ? static_cast<result>(-1) : real arguments; \
  }

// The same for a call that reads or writes `size` bytes.
#define TIDEWELL_TRANSFER(result, name, parameters, arguments, call) \
  extern "C" result name parameters {                                \
    static const auto real = next<result parameters>(#name);         \
    const Turn turn = turnOf(call);                                  \
    if (turn == Turn::kFailed) return -1;                            \
    if (turn == Turn::kShort && size > 1) size /= 2;                 \
    return real arguments;                                           \
  }

// The same for a call with a mode as its last argument, if it makes a file.
#define TIDEWELL_OPEN(name, parameters, arguments)                                       \
  extern "C" int name parameters {                                                       \
    va_list rest;                                                                        \
    va_start(rest, flags);                                                               \
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0; \
    va_end(rest);                                                                        \
    static const auto real = next<int parameters>(#name);                                \
    return turnOf(kOpen) == Turn::kFailed ? -1 : real arguments;                         \
  }

TIDEWELL_OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
TIDEWELL_OPEN(open64, (const char* path, int flags, ...), (path, flags, mode))
TIDEWELL_OPEN(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
TIDEWELL_OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))

TIDEWELL_TRANSFER(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size), kRead)
TIDEWELL_TRANSFER(ssize_t, pread, (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at), kRead)
TIDEWELL_TRANSFER(ssize_t, pread64, (int file, void* bytes, size_t size, off64_t at), (file, bytes, size, at), kRead)
TIDEWELL_TRANSFER(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size), kWrite)
TIDEWELL_TRANSFER(ssize_t, pwrite, (int file, const void* bytes, size_t size, off_t at), (file, bytes, size, at),
                  kWrite)
TIDEWELL_TRANSFER(ssize_t, pwrite64, (int file, const void* bytes, size_t size, off64_t at), (file, bytes, size, at),
                  kWrite)

// Nothing is really flushed: what a killed process has written is there without that.
extern "C" int fsync(int) {
  return turnOf(kFlush) == Turn::kFailed ? -1 : 0;
}

extern "C" int fdatasync(int file) {
  return fsync(file);
}

TIDEWELL_CALL(int, ftruncate, (int file, off_t size), (file, size), kChange)
TIDEWELL_CALL(int, ftruncate64, (int file, off64_t size), (file, size), kChange)
TIDEWELL_CALL(int, fchmod, (int file, mode_t mode), (file, mode), kChange)
TIDEWELL_CALL(int, unlink, (const char* path), (path), kChange)
TIDEWELL_CALL(int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags), kChange)
TIDEWELL_CALL(int, mkdirat, (int folder, const char* path, mode_t mode), (folder, path, mode), kChange)
TIDEWELL_CALL(int, renameat2, (int from, const char* name, int to, const char* newName, unsigned flags),
              (from, name, to, newName, flags), kChange)

TIDEWELL_CALL(int, stat, (const char* path, struct stat* status), (path, status), kLook)
TIDEWELL_CALL(int, stat64, (const char* path, struct stat64* status), (path, status), kLook)
TIDEWELL_CALL(int, lstat64, (const char* path, struct stat64* status), (path, status), kLook)
TIDEWELL_CALL(int, fstat, (int file, struct stat* status), (file, status), kLook)
TIDEWELL_CALL(int, fstat64, (int file, struct stat64* status), (file, status), kLook)
TIDEWELL_CALL(int, fstatat, (int folder, const char* path, struct stat* status, int flags),
              (folder, path, status, flags), kLook)
TIDEWELL_CALL(int, statx, (int folder, const char* path, int flags, unsigned mask, struct statx* status),
              (folder, path, flags, mask, status), kLook)
TIDEWELL_CALL(off64_t, lseek64, (int file, off64_t offset, int whence), (file, offset, whence), kLook)
TIDEWELL_CALL(off_t, lseek, (int file, off_t offset, int whence), (file, offset, whence), kLook)
TIDEWELL_CALL(ssize_t, getdents64, (int folder, void* entries, size_t size), (folder, entries, size), kLook)

extern "C" int fcntl(int file, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  static const auto real = next<int(int, int, ...)>("fcntl");
  const bool isLock = command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK;
  return isLock && turnOf(kLock) == Turn::kFailed ? -1 : real(file, command, argument);
}

extern "C" int fcntl64(int file, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  return fcntl(file, command, argument);
}

// For the calls that the C library has no function for.
// Reads as many arguments as any such call has, whatever was passed.
extern "C" __attribute__((no_sanitize_address)) long syscall(long number, ...) {
  va_list rest;
  va_start(rest, number);
  long arguments[6];
  for (long& argument : arguments) argument = va_arg(rest, long);
  va_end(rest);
  static const auto real = next<long(long, ...)>("syscall");
  if (turnOf(kOpen) == Turn::kFailed) return -1;
  return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}
