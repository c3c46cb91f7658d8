// The values that Sqlite takes and returns: arguments of statements, and columns of rows.
//
// Plain values; any thread.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "Platform/Value.h"

namespace tidewell {

/// A number, and the type that it was made from, which decides how it is bound.
class SqliteNumber {
 public:
  template <typename T>
  requires std::is_arithmetic_v<T> SqliteNumber(T number)
      : value_(Stored<T>(number)), typeEncoding_(encodingOf<T>()) {}  // NOLINT: written as it is

  /// One character: "c" for a boolean or an 8-bit integer, "s", "i", "q" for 16, 32 and 64 bits, the capital of these
  /// when unsigned, "f" for a float and "d" for a double.
  std::string_view typeEncoding() const { return {&typeEncoding_, 1}; }

  bool boolValue() const;
  std::int64_t longValue() const;
  float floatValue() const;
  double doubleValue() const;

  /// In decimal; a boolean as "1" or "0".
  std::string description() const;

  friend bool operator==(const SqliteNumber&, const SqliteNumber&) = default;

 private:
  // Whole numbers are kept in 64 bits; the type encoding records their original width.
  template <typename T>
  using Stored =
      std::conditional_t<std::is_same_v<T, float>, float,
                         std::conditional_t<std::is_floating_point_v<T>, double,
                                            std::conditional_t<std::is_unsigned_v<T> && !std::is_same_v<T, bool>,
                                                               std::uint64_t, std::int64_t>>>;

  template <typename T>
  static constexpr char encodingOf() {
    if (std::is_same_v<T, bool>) return 'c';
    if (std::is_floating_point_v<T>) return std::is_same_v<T, float> ? 'f' : 'd';
    constexpr std::string_view kEncodings = std::is_unsigned_v<T> ? "CSIQ" : "csiq";
    return kEncodings[sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3];
  }

  std::variant<std::int64_t, std::uint64_t, float, double> value_;
  char typeEncoding_;
};

/// The null marker.
struct SqliteNull {
  friend bool operator==(const SqliteNull&, const SqliteNull&) = default;
};

/// Any other object, known only by its text description.
struct SqliteObject {
  std::string description;
  friend bool operator==(const SqliteObject&, const SqliteObject&) = default;
};

/// An absent value is an empty std::optional of this.
using SqliteValue = std::variant<std::string, SqliteNumber, platform::Data, platform::Date, SqliteNull, SqliteObject>;

}  // namespace tidewell
