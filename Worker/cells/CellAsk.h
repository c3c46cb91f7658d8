// What a cell can do but compute: talk to the worker.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

/// Says something to the worker, and returns what it says then. Absent when it listens no more.
using CellAsk = std::function<std::optional<std::string>(std::string_view message)>;

}  // namespace tidewell
