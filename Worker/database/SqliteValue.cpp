#include "Worker/database/SqliteValue.h"

#include <array>
#include <charconv>

namespace tidewell {

bool SqliteNumber::boolValue() const {
  return std::visit([](auto number) { return number != 0; }, value_);
}

std::int64_t SqliteNumber::longValue() const {
  return std::visit([](auto number) { return static_cast<std::int64_t>(number); }, value_);
}

float SqliteNumber::floatValue() const {
  return std::visit([](auto number) { return static_cast<float>(number); }, value_);
}

double SqliteNumber::doubleValue() const {
  return std::visit([](auto number) { return static_cast<double>(number); }, value_);
}

std::string SqliteNumber::description() const {
  std::array<char, 32> digits;  // the longest is a double: 24
  const auto end = std::visit(
      [&digits](auto number) { return std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr; },
      value_);
  return {digits.data(), end};
}

}  // namespace tidewell
