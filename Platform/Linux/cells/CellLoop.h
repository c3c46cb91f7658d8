// The life of a cell: it closes its door, and then answers until nobody listens any more.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace platform::linux_ {

/// The name by which a cell's program is started.
inline constexpr std::string_view kCellName = "tidewell-cell";

struct CellLoop {
  /// Says something to whoever has opened the cell, and returns what is said then. Absent when nobody listens.
  using Ask = std::function<std::optional<std::string>(std::string_view message)>;

  /// Does what can't be done behind the door.
  std::function<void()> prepare;

  /// The answer to a message; absent for what is none: then the cell ends. So it does when there is too little memory.
  std::function<std::optional<std::string>(std::string_view message, const Ask& ask)> answer;

  /// For the cell's own program, before it has a second thread.
  [[noreturn]] void run() const;
};

}  // namespace platform::linux_
