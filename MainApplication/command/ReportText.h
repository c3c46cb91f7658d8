// What the command says of a cleaning.
#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

#include "Worker/cleaning/Report.h"

namespace tidewell {

/// For programs.
nlohmann::ordered_json stateOf(const Report& report);

/// For people: a line with the sum, and one for each store of which something is left, or for every store.
void print(const Report& report, bool isVerbose, std::ostream& output);

}  // namespace tidewell
