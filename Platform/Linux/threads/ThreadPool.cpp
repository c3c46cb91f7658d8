#include "Platform/Linux/threads/ThreadPool.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

namespace platform::linux_ {
namespace {

using namespace std::chrono_literals;

constexpr unsigned kMostThreads = 256;          // not counting blocked ones
constexpr unsigned kMostBlockedThreads = 1024;  // each waits for a panel, say
constexpr std::size_t kStackSize = 512 * 1024;  // bytes; only what is touched takes memory
constexpr auto kIdleTime = 2s;
constexpr auto kStallTime = 50ms;
constexpr auto kShutDownTime = 2s;

/// The pool whose thread this is.
thread_local ThreadPool* poolOfThisThread = nullptr;

}  // namespace

ThreadPool::ThreadPool() : concurrency_(std::max(4U, 2 * std::thread::hardware_concurrency())) {}

ThreadPool::~ThreadPool() {
  shutDown();
}

void ThreadPool::submit(Task task, Priority priority) {
  bool runHere = false;
  {
    const std::lock_guard lock(mutex_);
    if (stopped_) return;
    if (priority == Priority::high) {
      tasks_.push_front(std::move(task));
    } else {
      tasks_.push_back(std::move(task));
    }
    grow();
    if (threads_ == 0) {
      // No thread can be started at all: the task runs on this one, rather than never.
      task = std::move(tasks_.front());
      tasks_.pop_front();
      runHere = true;
    }
  }
  if (runHere) fence_.run(task);
}

/// Wakes or adds a thread when the waiting tasks need one.
void ThreadPool::grow() {
  if (tasks_.empty()) return;
  if (idle_ > 0) {
    workCondition_.notify_one();
  } else if (runningThreads() < concurrency_) {
    startThread();
  } else if (!wantsWatcher_ && !isWatching_) {
    wantsWatcher_ = startThread();
  }
}

bool ThreadPool::startThread() {
  if (threads_ - blocked_ >= kMostThreads || threads_ >= kMostBlockedThreads) return false;
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  ::pthread_attr_setstacksize(&attributes, kStackSize);
  pthread_t thread{};
  const auto main = [](void* pool) -> void* {
    poolOfThisThread = static_cast<ThreadPool*>(pool);
    poolOfThisThread->work();
    return nullptr;
  };
  const bool started = ::pthread_create(&thread, &attributes, main, this) == 0;
  ::pthread_attr_destroy(&attributes);
  if (started) ++threads_;
  return started;
}

void ThreadPool::work() {
  std::unique_lock lock(mutex_);
  // The watcher's place is taken by whichever thread comes first: they are all alike. By then the need may be over.
  if (std::exchange(wantsWatcher_, false) && runningThreads() > concurrency_) watchForStall(lock);
  while (waitForWork(lock)) {
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    ++taken_;
    grow();
    lock.unlock();
    fence_.run(task);
    task = nullptr;  // releases what it holds before the next wait
    lock.lock();
  }
  if (threads_ == 1 && !stopped_ && idleHandler_) {
    lock.unlock();
    idleHandler_();
    lock.lock();
  }
  --threads_;
  endCondition_.notify_all();
}

/// False when the thread is to end.
bool ThreadPool::waitForWork(std::unique_lock<std::mutex>& lock) {
  ++idle_;
  workCondition_.wait_for(lock, kIdleTime, [this] { return stopped_ || !tasks_.empty(); });
  --idle_;
  return !stopped_ && !tasks_.empty();
}

/// Returns when the other threads took nothing for a while although tasks wait, or when none wait any more.
void ThreadPool::watchForStall(std::unique_lock<std::mutex>& lock) {
  isWatching_ = true;
  std::uint64_t taken = taken_ - 1;
  while (!stopped_ && !tasks_.empty() && taken != taken_) {
    taken = taken_;
    endCondition_.wait_for(lock, kStallTime, [this] { return stopped_; });
  }
  isWatching_ = false;
}

bool ThreadPool::shutDown() {
  std::deque<Task> dropped;
  std::unique_lock lock(mutex_);
  stopped_ = true;
  dropped.swap(tasks_);
  workCondition_.notify_all();
  endCondition_.notify_all();
  // Blocked threads wait for the main thread, which is busy here: they would never end.
  endCondition_.wait_for(lock, kShutDownTime, [this] { return threads_ <= blocked_; });
  const bool ended = threads_ == 0;
  lock.unlock();
  return ended;
}

unsigned ThreadPool::threadCount() const {
  const std::lock_guard lock(mutex_);
  return threads_;
}

ThreadPool::Blocked::Blocked(ThreadPool& pool) : pool_(poolOfThisThread == &pool ? &pool : nullptr) {
  if (pool_ == nullptr) return;
  const std::lock_guard lock(pool_->mutex_);
  ++pool_->blocked_;
  pool_->grow();
  pool_->endCondition_.notify_all();
}

ThreadPool::Blocked::~Blocked() {
  if (pool_ == nullptr) return;
  const std::lock_guard lock(pool_->mutex_);
  --pool_->blocked_;
}

}  // namespace platform::linux_
