// What a cell does before it hears a word: it gives up everything.
//
// For the cell's own program, before it has a second thread.
#pragma once

#include <string>

namespace platform::linux_ {

/// The only descriptor of a cell: its conversation, a socket.
inline constexpr int kCellDescriptor = 0;

/// Which of the kernel's means have closed the door. The first is enough; the second is there for a hole in it.
struct CellDoor {
  bool isFiltered = false;    // only the system calls of a short list are left (seccomp)
  bool isLandlocked = false;  // no file and no port can be named (Landlock)

  /// Closes all descriptors but that of the conversation, limits memory and time, and takes every right away. Whatever
  /// the kernel does not have stays undone.
  static CellDoor close();

  /// The first message of a cell.
  std::string greeting() const {
    return std::string(isFiltered ? "filtered" : "") + (isLandlocked ? "+landlocked" : "");
  }
  static CellDoor from(const std::string& greeting) {
    return {greeting.starts_with("filtered"), greeting.ends_with("+landlocked")};
  }
  bool isClosed() const { return isFiltered || isLandlocked; }
};

}  // namespace platform::linux_
