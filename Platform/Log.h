// The log: one line for each entry.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// What an entry is about, for logs that can be searched by it. The name has capitals and underscores only.
struct LogField {
  std::string name;
  std::string value;
};

class Log {
 public:
  virtual ~Log() = default;

  /// Writes one line, and the fields where the log has them; control characters in the text (a file name can hold a
  /// newline) are written as printable() has them, so that an entry is always one line. From any thread.
  virtual void log(std::string_view text, const std::vector<LogField>& fields) = 0;
  void log(std::string_view text) { log(text, {}); }

  /// An entry of the ordinary course of things: written only where the log has fields to find it by.
  virtual void record(std::string_view text, const std::vector<LogField>& fields) = 0;
};

}  // namespace platform
