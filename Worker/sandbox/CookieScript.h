// Safari's cookie script, and its installation with the person's consent.
#pragma once

#include <optional>

#include "Platform/FileURL.h"

namespace tidewell {

inline constexpr char kCookieScript[] = "clearCookies.sh";

/// The folder for the script, created when missing. Absent when that fails.
std::optional<platform::FileURL> cookieScriptsFolder();

/// Asks the person to confirm the scripts folder, repeatedly until the script is installed or the person cancels. Runs
/// on the main thread; a caller on another thread waits.
void installCookieScript();

}  // namespace tidewell
