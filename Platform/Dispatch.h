// Queues: where work runs, and when.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace platform {

using Task = std::function<void()>;

/// Runs tasks one after the other, in the order in which they were handed over.
///
/// A queue may be dropped while tasks are still waiting: they run all the same.
class DispatchQueue {
 public:
  virtual ~DispatchQueue() = default;

  virtual const std::string& label() const = 0;

  /// Runs the task and returns when it is done. A serial queue runs it on the calling thread, when its turn has come;
  /// the main queue runs it on the main thread. On the main thread it would wait for itself on the main queue: callers
  /// check Dispatch::isMainThread() first.
  ///
  /// A task that another thread waits for in this way is not started while a modal panel is up, so that panels come one
  /// after the other; asynchronous tasks still run.
  ///
  /// What the task throws is thrown here.
  virtual void sync(const Task& task) = 0;

  /// Hands the task over and returns at once. From any thread. A task that throws ends alone, with a line in the log.
  virtual void async(Task task) = 0;
};

/// One unit of work, and what is called on a background thread when it has finished; not after it has thrown.
struct BlockOperation {
  Task block;
  Task completion;  // may be empty
};

/// Runs operations on background threads. May be dropped while operations are under way: they run to their end.
class OperationQueue {
 public:
  virtual ~OperationQueue() = default;

  virtual void addOperation(BlockOperation operation) = 0;
};

/// Makes and owns queues. All operations may be called from any thread; the queues that are handed out by reference
/// live as long as this object.
class Dispatch {
 public:
  virtual ~Dispatch() = default;

  virtual bool isMainThread() const = 0;
  virtual DispatchQueue& mainQueue() = 0;

  /// The process-wide concurrent queue for work that should start soon: its tasks run side by side on background
  /// threads.
  virtual DispatchQueue& globalHighPriorityQueue() = 0;

  virtual std::unique_ptr<DispatchQueue> makeSerialQueue(std::string label) = 0;
  virtual std::unique_ptr<OperationQueue> makeOperationQueue() = 0;

  /// Hands `task` to `queue` (one of the two above) when `delay` has passed. The delay does not count time in suspend.
  virtual void after(std::chrono::nanoseconds delay, DispatchQueue& queue, Task task) = 0;
};

}  // namespace platform
