// Safari's cookie script, and how it comes to its place: with the person's consent.
#pragma once

#include <optional>

#include "Platform/FileURL.h"

namespace tidewell {

inline constexpr char kCookieScript[] = "clearCookies.sh";

/// The folder that the script belongs in; made when it is missing. Absent when it can't be had.
std::optional<platform::FileURL> cookieScriptsFolder();

/// Asks the person to confirm the scripts folder, again and again until the script is in it or the person cancels.
/// On the main thread; a caller on another one waits.
void installCookieScript();

}  // namespace tidewell
