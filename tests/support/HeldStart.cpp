#include "tests/support/HeldStart.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/fanotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

namespace testing_support {
namespace {

constexpr std::chrono::seconds kBound{10};

}  // namespace

bool HeldStart::isAllowed() {
  const int events = ::fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY | O_CLOEXEC);
  return events >= 0 && ::close(events) == 0;
}

HeldStart::HeldStart(const std::string& program)
    : events_(::fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY | O_CLOEXEC)),
      ended_(::eventfd(0, EFD_CLOEXEC)) {
  if (::fanotify_mark(events_, FAN_MARK_ADD, FAN_ACCESS_PERM, AT_FDCWD, program.c_str()) != 0) {
    throw std::runtime_error("can't hold " + program);
  }
  // The child waits until the parent knows its number.
  std::array<int, 2> input{};
  if (::pipe2(input.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pid_ = ::fork();
  if (pid_ == 0) {
    char byte = 0;
    if (::read(input[0], &byte, 1) == 1) {
      ::close_range(3, ~0U, 0);  // or it would hold pipes open whose end other tests wait for
      ::dup2(::open("/dev/ptmx", O_RDWR | O_NOCTTY), STDIN_FILENO);  // an input that stays empty
      ::execl(program.c_str(), program.c_str(), "wait", nullptr);
    }
    ::_exit(1);
  }
  answering_ = std::thread([this] { answerReaders(); });
  [[maybe_unused]] const ssize_t told = ::write(input[1], "+", 1);
  ::close(input[0]);
  ::close(input[1]);
  if (isHeld_.get_future().wait_for(kBound) != std::future_status::ready) std::terminate();
}

HeldStart::~HeldStart() {
  release();
  end();
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(ended_, &one, sizeof one);
  answering_.join();
  ::close(events_);
  ::close(ended_);
}

void HeldStart::release() {
  const std::lock_guard lock(mutex_);
  isReleased_ = true;
  if (held_ >= 0) allow(std::exchange(held_, -1));
}

void HeldStart::allow(int file) const {
  const fanotify_response response{file, FAN_ALLOW};
  [[maybe_unused]] const ssize_t written = ::write(events_, &response, sizeof response);
  ::close(file);
}

void HeldStart::answerReaders() {
  std::array<pollfd, 2> waiting = {{{events_, POLLIN, 0}, {ended_, POLLIN, 0}}};
  while (::poll(waiting.data(), waiting.size(), -1) >= 0 && waiting[1].revents == 0) {
    fanotify_event_metadata event{};
    if (waiting[0].revents == 0 || ::read(events_, &event, sizeof event) != sizeof event) continue;
    const std::lock_guard lock(mutex_);
    if (event.pid != pid_ || isReleased_) {
      allow(event.fd);
    } else {
      held_ = event.fd;
      isHeld_.set_value();
    }
  }
}

void HeldStart::end() {
  if (hasEnded_) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  hasEnded_ = true;
}

}  // namespace testing_support
