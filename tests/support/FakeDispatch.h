// Queues without threads, under a clock that a test moves.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Dispatch.h"
#include "tests/support/Journal.h"

namespace testing_support {

/// The background queue and the main queue are FIFO queues that run when the test says so. The test's own thread counts
/// as the main thread, except while a background task runs. The journal's place is the label of the queue whose task
/// runs. Journal: "queue LABEL" for each serial queue that is made, "operation queue on main" or "... on background",
/// "after DELAY ns on LABEL".
class FakeDispatch : public platform::Dispatch {
 public:
  explicit FakeDispatch(Journal& journal);
  ~FakeDispatch() override;

  // For tests.

  void runUntilIdle();
  /// Moves the clock, and runs what falls due meanwhile.
  void advance(std::chrono::nanoseconds duration);
  /// Runs one background task; returns whether there was one.
  bool runOneInBackground();
  bool runOneOnMain();
  std::size_t waitingInBackground() const { return background_.size(); }
  std::size_t waitingOnMain() const { return main_.size(); }
  std::size_t waitingTimers() const { return timers_.size(); }
  /// Runs the task as if on a background thread.
  void asBackgroundThread(const platform::Task& task);
  /// Drops everything that waits.
  void clear();
  const std::vector<std::string>& labels() const { return labels_; }

  bool isMainThread() const override { return onMain_; }
  platform::DispatchQueue& mainQueue() override { return *mainQueue_; }
  platform::DispatchQueue& globalHighPriorityQueue() override { return *globalQueue_; }
  std::unique_ptr<platform::DispatchQueue> makeSerialQueue(std::string label) override;
  std::unique_ptr<platform::OperationQueue> makeOperationQueue() override;
  void after(std::chrono::nanoseconds delay, platform::DispatchQueue& queue, platform::Task task) override;

 private:
  class MainQueue;
  class BackgroundQueue;
  class Operations;
  class Stay;

  static bool runOne(std::deque<platform::Task>& tasks);
  /// A task that runs the given one at that place.
  platform::Task at(const std::string& place, bool onMain, platform::Task task);

  Journal& journal_;
  bool onMain_ = true;
  std::deque<platform::Task> main_;
  std::deque<platform::Task> background_;
  std::chrono::nanoseconds now_{0};
  std::multimap<std::chrono::nanoseconds, platform::Task> timers_;
  std::vector<std::string> labels_;
  std::unique_ptr<platform::DispatchQueue> mainQueue_;
  std::unique_ptr<platform::DispatchQueue> globalQueue_;
};

}  // namespace testing_support
