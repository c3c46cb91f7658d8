// A process that is a cell, as the one sees it who has started it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Result.h"

namespace platform::linux_ {

/// Ended and waited for when it is destroyed. One thread at a time.
class CellProcess {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Starts a program, open by a descriptor, with nothing but a socket: no arguments, no environment.
  static Result<CellProcess> start(int program);

  CellProcess(CellProcess&& other) noexcept;
  CellProcess& operator=(CellProcess&& other) noexcept;
  ~CellProcess() { end(); }

  /// As described at Cell. Nothing is waited for beyond `end`.
  std::error_code say(std::string_view message, Time end);
  Result<std::string> hear(std::size_t largest, Time end);

 private:
  CellProcess(pid_t pid, FileDescriptor socket) : pid_(pid), socket_(std::move(socket)) {}

  void end();
  std::error_code wait(short events, Time end) const;
  std::error_code send(std::string_view bytes, Time end) const;
  std::error_code receive(char* bytes, std::size_t count, Time end) const;

  pid_t pid_ = 0;  // 0 when moved from
  FileDescriptor socket_;
};

}  // namespace platform::linux_
