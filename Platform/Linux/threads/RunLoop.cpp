#include "Platform/Linux/threads/RunLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <exception>
#include <system_error>
#include <utility>

#include "Platform/Linux/threads/EventSource.h"

namespace platform::linux_ {
namespace {

constexpr std::uint64_t kForever = UINT64_MAX;
constexpr std::uint64_t kTimerAccuracyMicroseconds = 1000;

void check(int result, const char* what) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

}  // namespace

struct RunLoop::Timer {
  RunLoop* loop;
  EventSource source;
};

RunLoop::RunLoop() {
  check(sd_event_new(&event_), "event loop");
  wakeDescriptor_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  check(wakeDescriptor_ < 0 ? -errno : 0, "eventfd");
  const auto drain = [](sd_event_source*, int descriptor, std::uint32_t, void*) {
    std::uint64_t count = 0;
    return ::read(descriptor, &count, sizeof count) < 0 && errno != EAGAIN ? -errno : 0;
  };
  check(sd_event_add_io(event_, nullptr, wakeDescriptor_, EPOLLIN, drain, nullptr), "wake-up source");
}

RunLoop::~RunLoop() {
  discardTasks();  // what they hold may belong to the loop
  sd_event_unref(event_);
  ::close(wakeDescriptor_);
}

void RunLoop::wake() const {
  const std::uint64_t one = 1;
  // Can only fail when the counter is full, and then the loop wakes anyway.
  [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor_, &one, sizeof one);
}

void RunLoop::async(Task task) {
  {
    const std::lock_guard lock(mutex_);
    pending_.push_back({std::move(task), false});
  }
  if (!isMainThread()) wake();
}

void RunLoop::sync(const Task& task) {
  std::mutex doneMutex;
  std::condition_variable doneCondition;
  bool done = false;
  std::exception_ptr thrown;
  {
    const std::lock_guard lock(mutex_);
    pending_.push_back({[&] {
                          try {
                            task();
                          } catch (...) {
                            thrown = std::current_exception();
                          }
                          // Notified under the lock: the waiting thread owns both, and may return at once.
                          const std::lock_guard doneLock(doneMutex);
                          done = true;
                          doneCondition.notify_one();
                        },
                        true});
  }
  wake();
  std::unique_lock doneLock(doneMutex);
  doneCondition.wait(doneLock, [&] { return done; });
  if (thrown) std::rethrow_exception(thrown);
}

void RunLoop::after(std::chrono::nanoseconds delay, Task task) {
  const auto due = std::chrono::steady_clock::now() + delay;
  if (isMainThread()) {
    addTimer(due, std::move(task));
  } else {
    async([this, due, task = std::move(task)]() mutable { addTimer(due, std::move(task)); });
  }
}

void RunLoop::addTimer(std::chrono::steady_clock::time_point due, Task task) {
  const auto fire = [](sd_event_source*, std::uint64_t, void* data) {
    const auto* timer = static_cast<const Timer*>(data);
    RunLoop* loop = timer->loop;
    loop->timers_.erase(timer);
    // Of timers that are due in the same turn any may be the first to be told of: each stands for the earliest task.
    loop->async(std::move(loop->delayed_.extract(loop->delayed_.begin()).mapped()));
    return 0;
  };
  // Absolute: sd-event counts relative times from when the loop woke last, which may be long ago.
  const auto microseconds =
      std::max<std::int64_t>(0, std::chrono::ceil<std::chrono::microseconds>(due.time_since_epoch()).count());
  auto timer = std::make_unique<Timer>(Timer{this, nullptr});
  sd_event_source* source = nullptr;
  check(sd_event_add_time(event_, &source, CLOCK_MONOTONIC, static_cast<std::uint64_t>(microseconds),
                          kTimerAccuracyMicroseconds, fire, timer.get()),
        "timer");
  timer->source.reset(source);
  const Timer* key = timer.get();
  timers_.emplace(key, std::move(timer));
  delayed_.emplace(due, std::move(task));
}

void RunLoop::discardTasks() {
  timers_.clear();
  delayed_.clear();
  std::deque<Pending> pending;
  {
    const std::lock_guard lock(mutex_);
    pending.swap(pending_);
  }
}

bool RunLoop::hasRunnableTask() {
  const std::lock_guard lock(mutex_);
  return std::any_of(pending_.begin(), pending_.end(),
                     [this](const Pending& pending) { return modalDepth_ == 0 || !pending.waitedFor; });
}

bool RunLoop::runOneTask() {
  Task task;
  {
    const std::lock_guard lock(mutex_);
    const auto next = std::find_if(pending_.begin(), pending_.end(),
                                   [this](const Pending& pending) { return modalDepth_ == 0 || !pending.waitedFor; });
    if (next == pending_.end()) return false;
    task = std::move(next->task);
    pending_.erase(next);
  }
  fence_.run(task);
  return true;
}

void RunLoop::turn() {
  const int result = sd_event_run(event_, hasRunnableTask() ? 0 : kForever);
  if (result < 0 && result != -EINTR) check(result, "event loop");
}

int RunLoop::run() {
  while (!stopped_) {
    turn();
    while (!stopped_ && runOneTask()) {
    }
  }
  stopped_ = false;
  return status_;
}

void RunLoop::runModally(const std::function<bool()>& done) {
  ++modalDepth_;
  while (!stopped_ && !done()) {
    turn();
    while (!stopped_ && !done() && runOneTask()) {
    }
  }
  --modalDepth_;
}

void RunLoop::stop(int status) {
  stopped_ = true;
  status_ = status;
}

void RunLoop::stopOnSignals() {
  constexpr std::array kSignals = {SIGTERM, SIGINT, SIGHUP};
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : kSignals) ::sigaddset(&signals, signal);
  ::signal(SIGPIPE, SIG_IGN);  // the reader of the log may go away
  check(-::pthread_sigmask(SIG_BLOCK, &signals, nullptr), "signals");
  const auto end = [](sd_event_source*, const struct signalfd_siginfo*, void* data) {
    auto* loop = static_cast<RunLoop*>(data);
    loop->async([loop] { loop->terminate(); });
    return 0;
  };
  for (const int signal : kSignals) check(sd_event_add_signal(event_, nullptr, signal, end, this), "signals");
}

void RunLoop::terminate() {
  const Task handler = std::exchange(terminationHandler_, nullptr);
  handler ? handler() : stop(0);
}

}  // namespace platform::linux_
