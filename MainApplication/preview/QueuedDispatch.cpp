#include "MainApplication/preview/QueuedDispatch.h"

#include <utility>

namespace tidewell {

using platform::Task;

class QueuedDispatch::Queue : public platform::DispatchQueue {
 public:
  Queue(std::deque<Task>& tasks, std::string label) : tasks_(tasks), label_(std::move(label)) {}
  const std::string& label() const override { return label_; }
  void sync(const Task& task) override { task(); }
  void async(Task task) override { tasks_.push_back(std::move(task)); }

 private:
  std::deque<Task>& tasks_;
  const std::string label_;
};

class QueuedDispatch::Operations : public platform::OperationQueue {
 public:
  explicit Operations(std::deque<Task>& tasks) : tasks_(tasks) {}
  void addOperation(platform::BlockOperation operation) override {
    tasks_.push_back(std::move(operation.block));
    if (operation.completion) tasks_.push_back(std::move(operation.completion));
  }

 private:
  std::deque<Task>& tasks_;
};

QueuedDispatch::QueuedDispatch() : queue_(std::make_unique<Queue>(tasks_, "preview")) {}

QueuedDispatch::~QueuedDispatch() = default;

void QueuedDispatch::runUntilIdle() {
  while (!tasks_.empty() || !delayed_.empty()) {
    if (tasks_.empty()) {
      tasks_.push_back(std::move(delayed_.begin()->second));
      delayed_.erase(delayed_.begin());
    }
    const Task task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
  }
}

std::unique_ptr<platform::DispatchQueue> QueuedDispatch::makeSerialQueue(std::string label) {
  return std::make_unique<Queue>(tasks_, std::move(label));
}

std::unique_ptr<platform::OperationQueue> QueuedDispatch::makeOperationQueue() {
  return std::make_unique<Operations>(tasks_);
}

void QueuedDispatch::after(std::chrono::nanoseconds delay, platform::DispatchQueue&, Task task) {
  delayed_.emplace(delay, std::move(task));
}

}  // namespace tidewell
