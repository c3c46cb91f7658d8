#include "Platform/Linux/cells/CellProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellLoop.h"
#include "Platform/Linux/cells/CellVoice.h"
#include "Platform/Linux/host/LastError.h"
#include "Platform/Linux/host/SpawnSettings.h"

namespace platform::linux_ {
namespace {

constexpr std::size_t kAtOnce = std::size_t{1} << 20;  // bytes: no more is set aside than has come

}  // namespace

Result<CellProcess> CellProcess::start(int program) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return lastError();
  FileDescriptor own(ends[0]);
  const FileDescriptor other(ends[1]);
  // Descriptors close when the program begins; those that don't, it closes itself before all else.
  sigset_t all;
  ::sigfillset(&all);
  SpawnSettings settings(all);
  settings.pass(other.get(), kCellDescriptor);
  const std::string path = "/proc/self/fd/" + std::to_string(program);
  std::string name(kCellName);
  std::array<char*, 2> arguments = {name.data(), nullptr};
  std::array<char*, 1> environment = {nullptr};
  pid_t pid = 0;
  const int error = ::posix_spawn(&pid, path.c_str(), settings.actions(), settings.attributes(), arguments.data(),
                                  environment.data());
  if (error != 0) return std::error_code(error, std::generic_category());
  return CellProcess(pid, std::move(own));
}

CellProcess::CellProcess(CellProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, 0)), socket_(std::move(other.socket_)) {}

CellProcess& CellProcess::operator=(CellProcess&& other) noexcept {
  if (this == &other) return *this;
  end();
  pid_ = std::exchange(other.pid_, 0);
  socket_ = std::move(other.socket_);
  return *this;
}

void CellProcess::end() {
  if (pid_ == 0) return;
  ::kill(pid_, SIGKILL);  // nobody else waits for it, so the number is still its own
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::error_code CellProcess::say(std::string_view message, Time end) {
  const std::uint64_t length = message.size();
  if (const auto error = send({reinterpret_cast<const char*>(&length), sizeof length}, end)) return error;
  return send(message, end);
}

Result<std::string> CellProcess::hear(std::size_t largest, Time end) {
  std::uint64_t length = 0;
  if (const auto error = receive(reinterpret_cast<char*>(&length), sizeof length, end)) return error;
  if (length > largest) return std::errc::message_size;
  std::string message;
  while (message.size() < length) {
    const std::size_t have = message.size();
    message.resize(have + std::min<std::size_t>(static_cast<std::size_t>(length) - have, kAtOnce));
    if (const auto error = receive(message.data() + have, message.size() - have, end)) return error;
  }
  return message;
}

std::error_code CellProcess::wait(short events, Time end) const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
  if (left.count() <= 0) return std::make_error_code(std::errc::timed_out);
  pollfd polled{socket_.get(), events, 0};
  return ::poll(&polled, 1, static_cast<int>(left.count())) < 0 && errno != EINTR ? lastError() : std::error_code();
}

std::error_code CellProcess::send(std::string_view bytes, Time end) const {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (errno == EAGAIN) {
      if (const auto error = wait(POLLOUT, end)) return error;
    } else if (errno != EINTR) {
      return std::make_error_code(std::errc::broken_pipe);
    }
  }
  return {};
}

std::error_code CellProcess::receive(char* bytes, std::size_t count, Time end) const {
  while (count > 0) {
    const ssize_t got = ::recv(socket_.get(), bytes, count, MSG_DONTWAIT);
    if (got > 0) {
      bytes += got;
      count -= static_cast<std::size_t>(got);
    } else if (got < 0 && errno == EAGAIN) {
      if (const auto error = wait(POLLIN, end)) return error;
    } else if (got == 0 || errno != EINTR) {
      return std::make_error_code(std::errc::broken_pipe);
    }
  }
  return {};
}

}  // namespace platform::linux_
