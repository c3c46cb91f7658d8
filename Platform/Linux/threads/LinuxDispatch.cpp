#include "Platform/Linux/threads/LinuxDispatch.h"

#include <condition_variable>
#include <list>
#include <mutex>
#include <utility>

namespace platform::linux_ {
namespace {

class MainQueue : public DispatchQueue {
 public:
  MainQueue(RunLoop& loop, ThreadPool& pool) : loop_(loop), pool_(pool) {}

  const std::string& label() const override { return label_; }
  void sync(const Task& task) override {
    const ThreadPool::Blocked blocked(pool_);
    loop_.sync(task);
  }
  void async(Task task) override { loop_.async(std::move(task)); }

 private:
  const std::string label_ = "main";
  RunLoop& loop_;
  ThreadPool& pool_;
};

class GlobalQueue : public DispatchQueue {
 public:
  explicit GlobalQueue(ThreadPool& pool) : pool_(pool) {}

  const std::string& label() const override { return label_; }
  void sync(const Task& task) override { task(); }
  void async(Task task) override { pool_.submit(std::move(task), ThreadPool::Priority::high); }

 private:
  const std::string label_ = "global.high";
  ThreadPool& pool_;
};

/// The state of a serial queue; outlives the queue object as long as tasks wait.
class SerialQueueState : public std::enable_shared_from_this<SerialQueueState> {
 public:
  SerialQueueState(ThreadPool& pool, std::string label) : label_(std::move(label)), pool_(pool) {}

  const std::string& label() const { return label_; }

  void async(Task task) {
    Task next;
    {
      const std::lock_guard lock(mutex_);
      waiting_.push_back({std::move(task), nullptr});
      if (!busy_) next = takeNext();
    }
    submit(std::move(next));
  }

  void sync(const Task& task) {
    waitForTurn();
    const Turn turn(*this);
    task();
  }

 private:
  struct Waiting {
    Task task;
    bool* turnHasCome;  // of a thread that waits to run its task itself; null for an asynchronous one
  };

  /// Ends the caller's turn, also when its task throws.
  class Turn {
   public:
    explicit Turn(SerialQueueState& queue) : queue_(queue) {}
    ~Turn() {
      Task next;
      {
        const std::lock_guard lock(queue_.mutex_);
        next = queue_.takeNext();
      }
      queue_.submit(std::move(next));
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    SerialQueueState& queue_;
  };

  void waitForTurn() {
    std::unique_lock lock(mutex_);
    if (!busy_) {
      busy_ = true;
      return;
    }
    bool turnHasCome = false;
    waiting_.push_back({{}, &turnHasCome});
    turnCondition_.wait(lock, [&turnHasCome] { return turnHasCome; });
  }

  /// Gives the turn to the first waiting entry; returns its task, to be submitted, when it is asynchronous. Called with
  /// the mutex held.
  Task takeNext() {
    busy_ = !waiting_.empty();
    if (!busy_) return nullptr;
    Waiting next = std::move(waiting_.front());
    waiting_.pop_front();
    if (next.turnHasCome != nullptr) {
      *next.turnHasCome = true;
      turnCondition_.notify_all();
    }
    return std::move(next.task);
  }

  /// Called without the mutex: when no thread can be started, the task runs at once on this one.
  void submit(Task next) {
    if (!next) return;
    pool_.submit([self = shared_from_this(), task = std::move(next)] {
      const Turn turn(*self);
      task();
    });
  }

  const std::string label_;
  ThreadPool& pool_;
  std::mutex mutex_;
  std::condition_variable turnCondition_;
  std::list<Waiting> waiting_;  // a list takes no memory while empty, as it nearly always is
  bool busy_ = false;
};

class SerialQueue : public DispatchQueue {
 public:
  SerialQueue(ThreadPool& pool, std::string label)
      : state_(std::make_shared<SerialQueueState>(pool, std::move(label))) {}

  const std::string& label() const override { return state_->label(); }
  void sync(const Task& task) override { state_->sync(task); }
  void async(Task task) override { state_->async(std::move(task)); }

 private:
  const std::shared_ptr<SerialQueueState> state_;
};

class PoolOperationQueue : public OperationQueue {
 public:
  explicit PoolOperationQueue(ThreadPool& pool) : pool_(pool) {}

  void addOperation(BlockOperation operation) override {
    pool_.submit([operation = std::move(operation)] {
      operation.block();
      if (operation.completion) operation.completion();
    });
  }

 private:
  ThreadPool& pool_;
};

}  // namespace

LinuxDispatch::LinuxDispatch(RunLoop& loop)
    : loop_(loop),
      mainQueue_(std::make_unique<MainQueue>(loop, pool_)),
      globalQueue_(std::make_unique<GlobalQueue>(pool_)) {}

LinuxDispatch::~LinuxDispatch() = default;

std::unique_ptr<DispatchQueue> LinuxDispatch::makeSerialQueue(std::string label) {
  return std::make_unique<SerialQueue>(pool_, std::move(label));
}

std::unique_ptr<OperationQueue> LinuxDispatch::makeOperationQueue() {
  return std::make_unique<PoolOperationQueue>(pool_);
}

void LinuxDispatch::after(std::chrono::nanoseconds delay, DispatchQueue& queue, Task task) {
  loop_.after(delay, [&queue, task = std::move(task)]() mutable { queue.async(std::move(task)); });
}

}  // namespace platform::linux_
