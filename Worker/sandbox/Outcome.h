// What became of a store, or of a part of one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <system_error>

namespace platform {
struct Erasure;
}

namespace tidewell {

/// Why something stays that should have gone, by rising weight.
enum class Left {
  kNothing,          // all is gone that should be
  kNotAllowed,       // no grant covers it
  kOnOtherMount,     // it lies on another mount than the grant
  kInUse,            // another program holds it, or has changed it meanwhile
  kNotOverwritten,   // it is to be overwritten before it goes, and could not be
  kNotReadable,      // what it holds can't be told
  kListNotReadable,  // what is to be kept of it can't be told
  kFailed,           // the system refused
};

struct Outcome {
  Left left = Left::kNothing;
  std::uint64_t removed = 0;  // files, links, folders, and files of which a part has gone
  std::uint64_t bytes = 0;    // freed on the disk
  int error = 0;              // the system's number of what was the reason for `left`; 0 where there is none

  Outcome& operator+=(const Outcome& other) {
    if (other.left > left) {
      left = other.left;
      error = other.error;
    }
    removed += other.removed;
    bytes += other.bytes;
    return *this;
  }

  bool operator==(const Outcome&) const = default;
};

/// What became of an item that stays, or can't be used, for which the platform has returned an error; kNothing when it
/// is missing.
Outcome outcomeOf(std::error_code error);

/// What became of an item that was to be removed.
Outcome outcomeOf(const platform::Erasure& erasure);

}  // namespace tidewell
