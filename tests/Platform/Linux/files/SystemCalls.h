// Records a few system calls, makes them fail on demand, or runs test code just before them. So tests can have a disk
// that fails, and an attacker at the worst moment.
//
// The program's own functions of these names replace the C library's, and make the real calls.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

namespace testing_support {

/// Affects the calls of the thread that created it, while it lives. One object at a time.
class SystemCalls {
 public:
  SystemCalls();
  ~SystemCalls();
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;

  std::vector<ino_t> flushed;    // by fsync and fdatasync, in order
  bool skipsFlushes = false;     // for tests with many flushes that don't check them
  std::size_t failingFlush = 0;  // its number, from 1; 0 for none
  int flushError = EIO;
  int exchangeError = 0;  // of renameat2

  // Each is run once.
  std::function<void()> beforeFlush;     // fsync, fdatasync
  std::function<void()> beforeExchange;  // renameat2
  std::function<void()> beforeLock;      // fcntl with F_SETLK
  std::function<void()> beforeClose;
};

/// Exchanges two items, as an attacker would. False when one is missing.
bool swapItems(const std::string& path, const std::string& other);

}  // namespace testing_support
