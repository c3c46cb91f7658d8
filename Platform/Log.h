// The log: one line for each entry.
#pragma once

#include <string_view>

namespace platform {

class Log {
 public:
  virtual ~Log() = default;

  /// Writes one line; control characters in the text (a file name can hold a newline) are written as printable() has
  /// them, so that an entry is always one line. From any thread.
  virtual void log(std::string_view text) = 0;
};

}  // namespace platform
