#include "tests/support/FakeDispatch.h"

#include <utility>

namespace testing_support {

using platform::Task;

class FakeDispatch::MainQueue : public platform::DispatchQueue {
 public:
  explicit MainQueue(FakeDispatch& dispatch) : dispatch_(dispatch) {}
  const std::string& label() const override { return label_; }
  void sync(const Task& task) override {
    const bool before = std::exchange(dispatch_.onMain_, true);
    task();
    dispatch_.onMain_ = before;
  }
  void async(Task task) override { dispatch_.main_.push_back(std::move(task)); }

 private:
  const std::string label_ = "main";
  FakeDispatch& dispatch_;
};

class FakeDispatch::BackgroundQueue : public platform::DispatchQueue {
 public:
  BackgroundQueue(FakeDispatch& dispatch, std::string label) : dispatch_(dispatch), label_(std::move(label)) {}
  const std::string& label() const override { return label_; }
  void sync(const Task& task) override { task(); }
  void async(Task task) override { dispatch_.background_.push_back(std::move(task)); }

 private:
  FakeDispatch& dispatch_;
  const std::string label_;
};

class FakeDispatch::Operations : public platform::OperationQueue {
 public:
  explicit Operations(FakeDispatch& dispatch) : dispatch_(dispatch) {}
  void addOperation(platform::BlockOperation operation) override {
    dispatch_.background_.push_back([&dispatch = dispatch_, operation = std::move(operation)] {
      operation.block();
      if (operation.completion) dispatch.background_.push_back(operation.completion);
    });
  }

 private:
  FakeDispatch& dispatch_;
};

FakeDispatch::FakeDispatch(Journal& journal)
    : journal_(journal),
      mainQueue_(std::make_unique<MainQueue>(*this)),
      globalQueue_(std::make_unique<BackgroundQueue>(*this, "global.high")) {}

FakeDispatch::~FakeDispatch() = default;

bool FakeDispatch::runOne(std::deque<Task>& tasks, bool onMain) {
  if (tasks.empty()) return false;
  const Task task = std::move(tasks.front());
  tasks.pop_front();
  const bool before = std::exchange(onMain_, onMain);
  task();
  onMain_ = before;
  return true;
}

bool FakeDispatch::runOneOnMain() {
  return runOne(main_, true);
}

bool FakeDispatch::runOneInBackground() {
  return runOne(background_, false);
}

void FakeDispatch::runUntilIdle() {
  while (runOneOnMain() || runOneInBackground()) {
  }
}

void FakeDispatch::advance(std::chrono::nanoseconds duration) {
  const auto until = now_ + duration;
  runUntilIdle();
  while (!timers_.empty() && timers_.begin()->first <= until) {
    now_ = timers_.begin()->first;
    const Task task = std::move(timers_.begin()->second);
    timers_.erase(timers_.begin());
    task();
    runUntilIdle();
  }
  now_ = until;
}

void FakeDispatch::clear() {
  main_.clear();
  background_.clear();
  timers_.clear();
}

void FakeDispatch::asBackgroundThread(const Task& task) {
  const bool before = std::exchange(onMain_, false);
  task();
  onMain_ = before;
}

std::unique_ptr<platform::DispatchQueue> FakeDispatch::makeSerialQueue(std::string label) {
  journal_.add("queue " + label);
  labels_.push_back(label);
  return std::make_unique<BackgroundQueue>(*this, std::move(label));
}

std::unique_ptr<platform::OperationQueue> FakeDispatch::makeOperationQueue() {
  journal_.add(std::string("operation queue on ") + (onMain_ ? "main" : "background"));
  return std::make_unique<Operations>(*this);
}

void FakeDispatch::after(std::chrono::nanoseconds delay, platform::DispatchQueue& queue, Task task) {
  journal_.add("after " + std::to_string(delay.count()) + " ns on " + queue.label());
  timers_.emplace(now_ + delay, [&queue, task = std::move(task)] { queue.async(task); });
}

}  // namespace testing_support
