#include "Platform/Assertion.h"

#include <cstdio>
#include <cstdlib>

#include "Platform/Format.h"

namespace platform {

AssertionFailure::AssertionFailure(std::string_view parameter, std::optional<std::string_view> file, int line)
    : std::logic_error(formatted("Invalid parameter not satisfying: %@", {parameter})),
      parameter_(parameter),
      file_(file.value_or("<Unknown File>")),
      line_(line) {}

std::string AssertionFailure::report() const {
  return std::string(what()) + ", " + file_ + ":" + std::to_string(line_);
}

void assertParameter(bool satisfied, std::string_view parameter, std::optional<std::string_view> file, int line) {
  if (!satisfied) throw AssertionFailure(parameter, file, line);
}

void assertionFailed(std::string_view condition, std::string_view function, std::string_view file, int line) {
  std::fprintf(stderr, "Assertion failed: (%.*s), function %.*s, file %.*s, line %d.\n",
               static_cast<int>(condition.size()), condition.data(), static_cast<int>(function.size()), function.data(),
               static_cast<int>(file.size()), file.data(), line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace platform
