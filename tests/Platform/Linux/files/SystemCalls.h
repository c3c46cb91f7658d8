// A few of the system's calls, noted, failing on demand, or with something done in the moment before. Disks do not fail
// on demand, and an attacker seldom meets the worst moment by himself.
//
// The program's own functions of these names stand before the C library's and do the real thing otherwise.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

namespace testing_support {

/// Those of the thread that made it, as long as it lives. One at a time.
class SystemCalls {
 public:
  SystemCalls();
  ~SystemCalls();
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;

  std::vector<ino_t> flushed;    // by fsync and fdatasync, in order
  bool skipsFlushes = false;     // where many are made and none is of interest
  std::size_t failingFlush = 0;  // which one, from 1 on
  int flushError = EIO;
  int exchangeError = 0;  // of renameat2

  // Done once.
  std::function<void()> beforeFlush;     // fsync, fdatasync
  std::function<void()> beforeExchange;  // renameat2
  std::function<void()> beforeLock;      // fcntl with F_SETLK
  std::function<void()> beforeClose;
};

/// Gives two items each other's place, as an attacker would.
void swapItems(const std::string& path, const std::string& other);

}  // namespace testing_support
