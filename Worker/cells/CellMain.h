// What a cell's program does, and the worker's when it stands in for one.
#pragma once

#include <string_view>

namespace tidewell {

/// The name by which a cell's program is started.
inline constexpr std::string_view kCellName = "tidewell-cell";

/// Closes the cell's door, and then reads what it is given until nobody listens any more.
[[noreturn]] void cellMain();

}  // namespace tidewell
