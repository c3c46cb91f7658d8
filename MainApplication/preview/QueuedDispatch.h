// Queues without threads and without waiting: everything runs in order, one after the other, when it is told to.
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

  /// Runs all that was handed over, and what that hands over; then what was delayed, the earliest first.
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
