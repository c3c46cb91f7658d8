// The main thread's event loop.
//
// It carries the session bus, timers, process events and the main queue. It is the only place in the process that waits
// for events, and it has no timer of its own: without anything to do it never wakes.
//
// One rule keeps it simple: a callback of an event source does no work of its own but hands a task to the loop. Tasks
// run between two turns of sd-event, so a task may run the loop itself (a modal panel does), which sd-event forbids to
// its callbacks.
#pragma once

#include <systemd/sd-event.h>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "Platform/Dispatch.h"
#include "Platform/Linux/threads/TaskFence.h"

namespace platform::linux_ {

class RunLoop {
 public:
  /// The thread that makes the loop is the main thread. Throws std::system_error when the kernel gives no descriptors.
  RunLoop();
  ~RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  bool isMainThread() const { return std::this_thread::get_id() == mainThread_; }

  /// For sources of other classes. Main thread only. A source must be released before the loop is destroyed.
  sd_event* event() const { return event_; }

  /// Hands a task to the main thread. From any thread.
  void async(Task task);

  /// Hands a task to the main thread and waits until it has run. From any thread but the main one. Not started while
  /// the loop runs modally. What the task throws is thrown here.
  void sync(const Task& task);

  /// Runs the task on the main thread when `delay` has passed since this call (CLOCK_MONOTONIC). From any thread.
  void after(std::chrono::nanoseconds delay, Task task);

  /// Runs until stop() is called; returns the status given to stop(). May be called again.
  int run();

  /// Runs until `done` returns true, nested in a task that is already running. `done` is called between tasks.
  void runModally(const std::function<bool()>& done);

  /// Ends run() after the task that is running. Main thread only.
  void stop(int status);

  /// Called after a task has thrown; the loop goes on. Without a handler the exception leaves run(). Before run().
  void setFailureHandler(Task handler) { fence_.setFailureHandler(std::move(handler)); }

  /// Drops every task that has not run, and the timers. For shutdown, while the objects that the tasks refer to still
  /// exist.
  void discardTasks();

  /// Ends run() with status 0 on SIGTERM, SIGINT and SIGHUP, or hands the first of them to the termination handler.
  /// Call before any thread is started: they must inherit the blocked signals. SIGPIPE is ignored from then on.
  void stopOnSignals();

  /// The handler is to call stop() when there is nothing left to do. A second signal does so at once.
  void setTerminationHandler(Task handler) { terminationHandler_ = std::move(handler); }

 private:
  struct Pending {
    Task task;
    bool waitedFor;  // by a thread in sync()
  };
  struct Timer;

  void terminate();
  void turn();
  bool hasRunnableTask();
  bool runOneTask();
  void wake() const;
  void addTimer(std::chrono::steady_clock::time_point due, Task task);

  const std::thread::id mainThread_ = std::this_thread::get_id();
  sd_event* event_ = nullptr;
  int wakeDescriptor_ = -1;
  int modalDepth_ = 0;
  bool stopped_ = false;
  int status_ = 0;
  TaskFence fence_;
  Task terminationHandler_;  // until the first signal
  // Main thread only. As many timers as tasks.
  std::map<const Timer*, std::unique_ptr<Timer>> timers_;
  std::multimap<std::chrono::steady_clock::time_point, Task> delayed_;  // by when they are due
  std::mutex mutex_;
  std::deque<Pending> pending_;  // guarded by mutex_
};

}  // namespace platform::linux_
