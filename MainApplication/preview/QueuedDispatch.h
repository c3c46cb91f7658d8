// Queues without threads and without waiting: tasks run one after the other, within runUntilIdle().
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "Platform/Dispatch.h"

namespace tidewell {

class QueuedDispatch : public platform::Dispatch {
 public:
  QueuedDispatch();
  ~QueuedDispatch() override;

  /// Runs all tasks, and those that they add; then the delayed ones, the earliest first, without waiting for their
  /// time.
  void runUntilIdle();

  bool isMainThread() const override { return true; }
  platform::DispatchQueue& mainQueue() override { return *queue_; }
  platform::DispatchQueue& globalHighPriorityQueue() override { return *queue_; }
  std::unique_ptr<platform::DispatchQueue> makeSerialQueue(std::string label) override;
  std::unique_ptr<platform::OperationQueue> makeOperationQueue() override;
  void after(std::chrono::nanoseconds delay, platform::DispatchQueue& queue, platform::Task task) override;

 private:
  class Queue;
  class Operations;

  std::deque<platform::Task> tasks_;
  std::multimap<std::chrono::nanoseconds, platform::Task> delayed_;
  std::unique_ptr<platform::DispatchQueue> queue_;
};

}  // namespace tidewell
