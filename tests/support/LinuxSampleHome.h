// A home folder without a Library that holds data of today's browsers, in several installations with several profiles,
// and what a cleaning is to leave of it.
//
// In every store there is something of a site and, where a browser lets extensions store there, something of one; files
// of the person lie beside them. The name of the site is in all that is a site's.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Worker/browsers/Browser.h"
#include "tests/support/ScratchFolder.h"

namespace testing_support {

inline constexpr char kVisitedSite[] = "visited.example";
inline constexpr char kSampleExtension[] = "abcdefghijklmnopabcdefghijklmnop";

/// A browser that has been cleaned, and how.
struct Cleaned {
  std::string browser;
  bool ofCurrentStores = true;  // or only of those that older versions have left
};

/// Fills a home for Chromium, Google Chrome, Firefox and Opera, each as its maker, Flatpak or Snap installs it. With
/// `cleaned` that browser's data are such as a cleaning has to leave them.
void fillLinuxSampleHome(const ScratchFolder& home, const std::optional<Cleaned>& cleaned = std::nullopt);

/// The same stores in the places of a home with a Library, one profile or two of each browser.
void fillLibraryWithCurrentStores(const ScratchFolder& home, const std::optional<Cleaned>& cleaned = std::nullopt);

/// Fills one installation of a browser, with a profile that has something in every store; `isCleaned`: as a cleaning
/// has to leave it. Both folders are below the home.
void fillInstallation(const ScratchFolder& home, const tidewell::Browser& browser, const std::string& dataFolder,
                      const std::string& cacheFolder, bool isCleaned);

/// The folders that must be granted for that browser in that home, below it.
std::vector<std::string> foldersOfLinuxSampleHome(const std::string& browser);

}  // namespace testing_support
