#include "tests/support/FakeDispatch.h"

#include <stdexcept>
#include <utility>

namespace testing_support {

using platform::Task;

/// While it lives, the journal and isMainThread() report another place.
class FakeDispatch::Stay {
 public:
  Stay(FakeDispatch& dispatch, const std::string& place, bool onMain)
      : dispatch_(dispatch), onMainBefore_(dispatch.onMain_), placeBefore_(dispatch.journal_.enter(place)) {
    dispatch_.onMain_ = onMain;
  }
  ~Stay() {
    dispatch_.onMain_ = onMainBefore_;
    dispatch_.journal_.enter(placeBefore_);
  }
  Stay(const Stay&) = delete;
  Stay& operator=(const Stay&) = delete;

 private:
  FakeDispatch& dispatch_;
  const bool onMainBefore_;
  const std::string placeBefore_;
};

class FakeDispatch::MainQueue : public platform::DispatchQueue {
 public:
  explicit MainQueue(FakeDispatch& dispatch) : dispatch_(dispatch) {}
  const std::string& label() const override { return label_; }
  void sync(const Task& task) override {
    if (dispatch_.onMain_) throw std::logic_error("the main thread would wait for itself");
    const Stay stay(dispatch_, label_, true);
    task();
  }
  void async(Task task) override { dispatch_.main_.push_back(dispatch_.at(label_, true, std::move(task))); }

 private:
  const std::string label_ = "main";
  FakeDispatch& dispatch_;
};

class FakeDispatch::BackgroundQueue : public platform::DispatchQueue {
 public:
  BackgroundQueue(FakeDispatch& dispatch, std::string label) : dispatch_(dispatch), label_(std::move(label)) {}
  const std::string& label() const override { return label_; }
  void sync(const Task& task) override {
    const Stay stay(dispatch_, label_, dispatch_.onMain_);  // on the calling thread
    task();
  }
  void async(Task task) override { dispatch_.background_.push_back(dispatch_.at(label_, false, std::move(task))); }

 private:
  FakeDispatch& dispatch_;
  const std::string label_;
};

class FakeDispatch::Operations : public platform::OperationQueue {
 public:
  explicit Operations(FakeDispatch& dispatch) : dispatch_(dispatch) {}
  void addOperation(platform::BlockOperation operation) override {
    dispatch_.background_.push_back(dispatch_.at("operation", false, [&dispatch = dispatch_, operation] {
      operation.block();
      if (!operation.completion) return;
      dispatch.background_.push_back(dispatch.at("completion", false, operation.completion));
    }));
  }

 private:
  FakeDispatch& dispatch_;
};

FakeDispatch::FakeDispatch(Journal& journal)
    : journal_(journal),
      mainQueue_(std::make_unique<MainQueue>(*this)),
      globalQueue_(std::make_unique<BackgroundQueue>(*this, "global.high")) {}

FakeDispatch::~FakeDispatch() = default;

Task FakeDispatch::at(const std::string& place, bool onMain, Task task) {
  return [this, place, onMain, task = std::move(task)] {
    const Stay stay(*this, place, onMain);
    task();
  };
}

bool FakeDispatch::runOne(std::deque<Task>& tasks) {
  if (tasks.empty()) return false;
  const Task task = std::move(tasks.front());
  tasks.pop_front();
  task();
  return true;
}

bool FakeDispatch::runOneOnMain() {
  return runOne(main_);
}

bool FakeDispatch::runOneInBackground() {
  return runOne(background_);
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
  at("background", false, task)();
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
