// How many of the points of failure are tried.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace testing_support {

/// Every so-manieth point is tried: `usual`, unless TIDEWELL_FAULT_STRIDE says otherwise; 1 is all of them.
inline std::uint64_t faultStride(std::uint64_t usual) {
  const char* text = ::getenv("TIDEWELL_FAULT_STRIDE");
  return text != nullptr ? std::max(1UL, std::stoul(text)) : usual;
}

}  // namespace testing_support
