// Processes that can do nothing but compute: what strangers wrote is read in them.
//
// A cell holds no file, no connection and no right to get one. All that it can do is to listen to the thread that has
// opened it, and to answer. So a reader with a hole, taken over by the bytes that it reads, can give a wrong answer and
// nothing else: whoever hears the answer checks it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "Platform/Result.h"

namespace platform {

/// A conversation with one cell, which ends with this object. One thread at a time. After an error there is nothing
/// more to say or to hear.
class Cell {
 public:
  virtual ~Cell() = default;

  /// Passes a message on.
  virtual std::error_code say(std::string_view message) = 0;

  /// Waits for the next message. std::errc::timed_out when the whole conversation takes too long,
  /// std::errc::message_size when more than `largest` bytes are announced, std::errc::broken_pipe when the cell has
  /// ended, or was ended for something that it tried.
  virtual Result<std::string> hear(std::size_t largest) = 0;
};

/// All operations may be called from any thread.
class Cells {
 public:
  virtual ~Cells() = default;

  virtual Result<std::unique_ptr<Cell>> open() = 0;

  /// As long as what it returns lives, the next cell is started while one is at work.
  virtual std::shared_ptr<void> startAhead() = 0;
};

}  // namespace platform
