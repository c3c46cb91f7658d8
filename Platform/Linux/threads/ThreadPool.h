// Background threads that exist only while there is work.
//
// As many tasks run at once as suits the machine's cores. A thread that waits for the main thread (a panel can stay
// open for an hour) says so and does not count; and when tasks wait while none has been taken for a while, since all
// threads are stuck, one more thread is added, again and again up to an upper bound. Threads without work end after two
// seconds: an idle process has none, and nothing here ever wakes it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

#include "Platform/Dispatch.h"
#include "Platform/Linux/threads/TaskFence.h"

namespace platform::linux_ {

class ThreadPool {
 public:
  enum class Priority { standard, high };

  ThreadPool();
  /// Before, shutDown() must have returned true, unless all submitted tasks are done.
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  /// Hands a task over and returns at once. From any thread. A task of high priority goes before the waiting ones.
  void submit(Task task, Priority priority = Priority::standard);

  /// Drops the tasks that have not been started and waits up to two seconds for the others. False when some are stuck:
  /// the process can then only exit without cleaning up (std::_Exit).
  bool shutDown();

  /// Called, on a thread of the pool, when the last one is about to end. Before the first task is submitted.
  void setIdleHandler(Task handler) { idleHandler_ = std::move(handler); }

  /// Called, on the task's thread, after a task has thrown; its thread goes on. Without a handler an exception ends the
  /// process. Before the first task is submitted.
  void setFailureHandler(Task handler) { fence_.setFailureHandler(std::move(handler)); }

  /// How many threads there are now.
  unsigned threadCount() const;

  /// While it lives, the calling thread counts as blocked. On a thread that is not the pool's it does nothing.
  class Blocked {
   public:
    explicit Blocked(ThreadPool& pool);
    ~Blocked();
    Blocked(const Blocked&) = delete;
    Blocked& operator=(const Blocked&) = delete;

   private:
    ThreadPool* const pool_;
  };

 private:
  void grow();
  bool startThread();
  void work();
  bool waitForWork(std::unique_lock<std::mutex>& lock);
  void watchForStall(std::unique_lock<std::mutex>& lock);
  unsigned runningThreads() const { return threads_ - idle_ - blocked_ - (isWatching_ ? 1 : 0); }

  const unsigned concurrency_;
  Task idleHandler_;
  TaskFence fence_;

  mutable std::mutex mutex_;
  std::condition_variable workCondition_;
  std::condition_variable endCondition_;
  // All guarded by mutex_.
  std::deque<Task> tasks_;
  unsigned threads_ = 0;
  unsigned idle_ = 0;
  unsigned blocked_ = 0;
  std::uint64_t taken_ = 0;    // how many tasks were ever taken
  bool wantsWatcher_ = false;  // a thread was started to see whether the others are stuck
  bool isWatching_ = false;    // and does so now
  bool stopped_ = false;
};

}  // namespace platform::linux_
