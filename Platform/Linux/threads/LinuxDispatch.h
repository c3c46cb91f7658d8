// Queues on the run loop and the thread pool.
#pragma once

#include <memory>
#include <string>

#include "Platform/Dispatch.h"
#include "Platform/Linux/threads/RunLoop.h"
#include "Platform/Linux/threads/ThreadPool.h"

namespace platform::linux_ {

class LinuxDispatch : public Dispatch {
 public:
  /// The loop must outlive the object.
  explicit LinuxDispatch(RunLoop& loop);
  ~LinuxDispatch() override;

  bool isMainThread() const override { return loop_.isMainThread(); }
  DispatchQueue& mainQueue() override { return *mainQueue_; }
  DispatchQueue& globalHighPriorityQueue() override { return *globalQueue_; }
  std::unique_ptr<DispatchQueue> makeSerialQueue(std::string label) override;
  std::unique_ptr<OperationQueue> makeOperationQueue() override;
  void after(std::chrono::nanoseconds delay, DispatchQueue& queue, Task task) override;

  ThreadPool& threadPool() { return pool_; }

 private:
  RunLoop& loop_;
  ThreadPool pool_;
  std::unique_ptr<DispatchQueue> mainQueue_;
  std::unique_ptr<DispatchQueue> globalQueue_;
};

}  // namespace platform::linux_
