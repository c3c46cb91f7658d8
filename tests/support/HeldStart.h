// Holds a program between being opened and running: the kernel has reported that it was opened, but the process doesn't
// run it yet.
#pragma once

#include <sys/types.h>

#include <future>
#include <mutex>
#include <string>
#include <thread>

namespace testing_support {

/// Holds the start of one process until release(); others may read the program meanwhile. Needs root (fanotify(7)).
class HeldStart {
 public:
  static bool isAllowed();

  /// Starts the program in a child and returns when it is held.
  explicit HeldStart(const std::string& program);
  /// Ends the child.
  ~HeldStart();
  HeldStart(const HeldStart&) = delete;
  HeldStart& operator=(const HeldStart&) = delete;

  pid_t pid() const { return pid_; }

  /// Lets it run.
  void release();
  /// Ends the child, which must have been released.
  void end();

 private:
  void answerReaders();
  void allow(int file) const;

  int events_ = -1;
  int ended_ = -1;  // an eventfd, signalled by the destructor
  pid_t pid_ = 0;   // the child's; set before the other thread starts
  bool hasEnded_ = false;
  std::promise<void> isHeld_;
  std::mutex mutex_;
  bool isReleased_ = false;  // guarded by mutex_
  int held_ = -1;            // the event that is still to be answered; guarded by mutex_
  std::thread answering_;
};

}  // namespace testing_support
