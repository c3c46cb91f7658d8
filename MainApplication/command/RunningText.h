// What the command says of a browser that runs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "MainApplication/client/RunningBrowsers.h"

namespace tidewell {

/// For programs: "since" in UTC, as ISO 8601 has it, and "window", which is null where that can't be told.
nlohmann::ordered_json runningState(const RunningBrowser& browser);

/// For people: with the local time.
std::string runningText(const RunningBrowser& browser);

}  // namespace tidewell
