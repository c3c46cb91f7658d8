// All browsers, in one table.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "Platform/WatchedApplication.h"
#include "Worker/browsers/Browser.h"

namespace tidewell {

// Names that the operations on a home with a Library compare with. All other code takes names from the table.
inline constexpr std::string_view kSafari = "Safari";
inline constexpr std::string_view kFirefox = "Firefox";
inline constexpr std::string_view kGoogleChrome = "Google Chrome";
inline constexpr std::string_view kChromium = "Chromium";
inline constexpr std::string_view kOpera = "Opera";
inline constexpr std::string_view kOperaIdentifier = "com.operasoftware.Opera";

/// In the order in which they are listed and matched.
std::span<const Browser> browsers();

/// A browser, and all of them, as the platform's Workspace watches them.
platform::WatchedApplication watched(const Browser& browser);
std::vector<platform::WatchedApplication> watchedBrowsers();

/// The browser of that exact name, or of that exact bundle identifier; null for none.
const Browser* browserNamed(std::string_view name);
const Browser* browserWithIdentifier(std::string_view bundleIdentifier);

/// The browser that the person names: by its name, its identifier or one of its words, in upper or lower case. Null for
/// none.
const Browser* browserCalled(std::string_view text);

}  // namespace tidewell
