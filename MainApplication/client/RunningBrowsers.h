// The browsers that run now, for people to read: one that lives on without a window is not cleaned, and nothing shows
// it.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string_view>

#include "Worker/browsers/Browser.h"

namespace tidewell {

struct RunningBrowser {
  std::chrono::system_clock::time_point since;  // of its first process
  std::optional<bool> hasWindow;                // absent where that can't be told, as on Wayland
};

/// By the browsers' identifiers. A browser whose processes can't be seen from here is not among them.
std::map<std::string_view, RunningBrowser> runningBrowsers();

}  // namespace tidewell
