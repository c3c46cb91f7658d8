// What became of a store, or of a part of one.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tidewell {

/// Why something stays that should have gone, by rising weight.
enum class Left {
  kNothing,         // all is gone that should be
  kNotAllowed,      // no grant covers it
  kOnOtherMount,    // it lies on another mount than the grant
  kInUse,           // another program holds it, or has changed it meanwhile
  kNotOverwritten,  // it is to be overwritten before it goes, and could not be
  kNotReadable,     // what it holds can't be told
  kFailed,          // the system refused
};

struct Outcome {
  Left left = Left::kNothing;
  std::uint64_t removed = 0;  // files, links, folders and changed files

  Outcome& operator+=(const Outcome& other) {
    left = std::max(left, other.left);
    removed += other.removed;
    return *this;
  }
};

}  // namespace tidewell
