// Programming errors: a required argument that is missing.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platform {

/// Raised for a missing required argument. what() is the description, "Invalid parameter not satisfying: " and the
/// parameter's name; file() and line() are the check's place in the source, as its caller gave it.
class AssertionFailure : public std::logic_error {
 public:
  AssertionFailure(std::string_view parameter, std::optional<std::string_view> file, int line);

  const std::string& parameter() const { return parameter_; }
  const std::string& file() const { return file_; }  // "<Unknown File>" when no source path is known
  int line() const { return line_; }

  /// The whole report: description, file and line.
  std::string report() const;

 private:
  std::string parameter_;
  std::string file_;
  int line_;
};

/// The assertion handler: raises an AssertionFailure unless `satisfied`.
void assertParameter(bool satisfied, std::string_view parameter, std::optional<std::string_view> file, int line);

/// Prints "Assertion failed: (condition), function F, file F, line N." to standard error and aborts the process. For
/// the few conditions without which the process must not go on.
[[noreturn]] void assertionFailed(std::string_view condition, std::string_view function, std::string_view file,
                                  int line);

}  // namespace platform
