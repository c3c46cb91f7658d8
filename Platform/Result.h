// A value, or the reason why there is none.
//
// Nothing throws across a platform interface: an operation that can fail returns a Result, or a std::error_code when
// there is no value to return.
#pragma once

#include <optional>
#include <system_error>
#include <utility>

namespace platform {

template <typename T>
class Result {
 public:
  Result(T value) : value_(std::move(value)) {}     // NOLINT: converts, so that `return value;` reads well
  Result(std::error_code error) : error_(error) {}  // NOLINT: likewise for `return error;`
  Result(std::errc error) : error_(std::make_error_code(error)) {}  // NOLINT

  explicit operator bool() const { return value_.has_value(); }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

  /// The reason; the empty error code when there is a value.
  std::error_code error() const { return error_; }

  /// The value as an optional, for callers that don't need the reason.
  std::optional<T> value() && { return std::move(value_); }

 private:
  std::optional<T> value_;
  std::error_code error_;
};

}  // namespace platform
