// The browsers: everything that names one, in one table.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tidewell {

// Browser names, by which a cleaning run and every cleaner know a browser. Compared exactly.
inline constexpr std::string_view kSafari = "Safari";
inline constexpr std::string_view kFirefox = "Firefox";
inline constexpr std::string_view kGoogleChrome = "Google Chrome";
inline constexpr std::string_view kChromium = "Chromium";
inline constexpr std::string_view kOpera = "Opera";

inline constexpr std::string_view kOperaIdentifier = "com.operasoftware.Opera";

struct Browser {
  std::string_view name;
  std::string_view bundleIdentifier;
  std::string_view dataFolder;  // the folder whose grant an access request asks for first
  std::string_view cacheFolder;
  /// File names of the main program as Linux installs it: a process that runs a file of such a name is the browser.
  std::span<const std::string_view> executableNames;
  /// Where makers' packages and sandboxed installations put it, outside the search path; patterns as of glob(7), where
  /// a leading
  /// "~/" is the home folder.
  std::span<const std::string_view> executablePlaces;
};

/// Google Chrome, Chromium and Opera keep their data alike.
bool isOfChromeFamily(std::string_view name);

/// All browsers, in the order in which they are tested.
std::span<const Browser> browsers();

/// The browser of that exact name, or of that exact bundle identifier; null for none.
const Browser* browserNamed(std::string_view name);
const Browser* browserWithIdentifier(std::string_view bundleIdentifier);

}  // namespace tidewell
