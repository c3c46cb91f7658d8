#include "Platform/Linux/processes/ProcessExit.h"

#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace platform::linux_ {

ProcessExit::ProcessExit(RunLoop& loop, pid_t pid, Task ended)
    : loop_(loop), ended_(std::move(ended)), descriptor_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {
  if (!descriptor_) {
    hasEnded_ = errno == ESRCH;
    return;
  }
  const auto exited = [](sd_event_source* source, int, std::uint32_t, void* data) {
    auto* self = static_cast<ProcessExit*>(data);
    sd_event_source_set_enabled(source, SD_EVENT_OFF);
    self->hasEnded_ = true;
    self->loop_.async(self->ended_);
    return 0;
  };
  sd_event_source* source = nullptr;
  sd_event_add_io(loop.event(), &source, descriptor_.get(), EPOLLIN, exited, this);
  source_.reset(source);
}

namespace {

Task whileThere(const std::shared_ptr<Task>& task) {
  return [weak = std::weak_ptr<Task>(task)] {
    if (const auto held = weak.lock()) (*held)();  // which may let the watch go
  };
}

}  // namespace

HeldProcess::HeldProcess(RunLoop& loop, pid_t pid, Task ended)
    : ended_(std::make_shared<Task>(std::move(ended))), exit_(loop, pid, whileThere(ended_)) {
  if (exit_.hasEnded()) loop.async(whileThere(ended_));
}

std::unique_ptr<ProcessWatch> HeldProcess::watch(RunLoop& loop, pid_t pid, Task ended) {
  auto held = std::make_unique<HeldProcess>(loop, pid, std::move(ended));
  if (!held->exit_.isValid() && !held->exit_.hasEnded()) return nullptr;
  return held;
}

}  // namespace platform::linux_
