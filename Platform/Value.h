// The values that settings hold: boolean, integer, real, string, data, date, array and dictionary.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

/// Byte data. Opaque: nothing here reads it as text.
using Data = std::vector<std::byte>;

Data dataFromBytes(std::string_view bytes);
std::string_view bytesOf(const Data& data);

/// A point in time, with the resolution of the system clock.
using Date = std::chrono::system_clock::time_point;

class Value {
 public:
  using Array = std::vector<Value>;
  using Dictionary = std::map<std::string, Value, std::less<>>;

  // Implicit, so that settings can be written as plain C++ values.
  Value(bool boolean) : value_(boolean) {}                         // NOLINT
  Value(int integer) : value_(std::int64_t{integer}) {}            // NOLINT
  Value(std::int64_t integer) : value_(integer) {}                 // NOLINT
  Value(double real) : value_(real) {}                             // NOLINT
  Value(const char* text) : value_(std::string(text)) {}           // NOLINT
  Value(std::string text) : value_(std::move(text)) {}             // NOLINT
  Value(std::string_view text) : value_(std::string(text)) {}      // NOLINT
  Value(Data data) : value_(std::move(data)) {}                    // NOLINT
  Value(Date date) : value_(date) {}                               // NOLINT
  Value(Array array) : value_(std::move(array)) {}                 // NOLINT
  Value(Dictionary dictionary) : value_(std::move(dictionary)) {}  // NOLINT

  /// The value if it is of exactly this type, else null. T is one of bool, std::int64_t, double, std::string, Data,
  /// Date, Array, Dictionary. No conversions: the number 1 is not a boolean.
  template <typename T>
  const T* as() const {
    return std::get_if<T>(&value_);
  }

  /// The value as text, as "%@" shows it: a string as it is, a boolean as "1" or "0", a number in decimal, an array or
  /// a dictionary in parentheses or braces, data as "<hexadecimal>", a date in UTC.
  std::string description() const;

  friend bool operator==(const Value&, const Value&) = default;

 private:
  std::variant<bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary> value_;
};

/// A value that may be absent, as "%@" shows it: "(null)" for none.
std::string descriptionOf(const std::optional<Value>& value);

}  // namespace platform
