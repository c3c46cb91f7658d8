// A short list that stores its elements in the object itself, so that a table of objects with lists is one constant.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

namespace tidewell {

template <typename T, std::size_t kCapacity>
class FixedList {
 public:
  constexpr FixedList() = default;
  /// In a constant, more elements than the capacity don't compile.
  constexpr FixedList(std::initializer_list<T> elements) {  // NOLINT: converts, so that rows read as tables
    for (const T& element : elements) elements_[size_++] = element;
  }

  constexpr const T* begin() const { return elements_.data(); }
  constexpr const T* end() const { return elements_.data() + size_; }
  constexpr std::size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }

 private:
  std::array<T, kCapacity> elements_{};
  std::size_t size_ = 0;
};

}  // namespace tidewell
