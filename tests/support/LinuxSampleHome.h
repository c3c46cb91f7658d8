// A home folder without a Library that holds data of today's browsers, in several installations with several profiles,
// and the same home as a cleaning has to leave it.
//
// Every store holds data of a site and, where the browser lets extensions store there, of an extension; the user's own
// files lie beside them. All data of the site contains its name.
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
  bool ofCurrentStores = true;  // or only those of older versions
};

/// Fills a home for Chromium, Google Chrome, Firefox and Opera, each as its maker, Flatpak or Snap installs it. With
/// `cleaned`, that browser's data are as a cleaning has to leave them.
void fillLinuxSampleHome(const ScratchFolder& home, const std::optional<Cleaned>& cleaned = std::nullopt);

/// The same stores in the places of a home with a Library, one profile or two of each browser.
void fillLibraryWithCurrentStores(const ScratchFolder& home, const std::optional<Cleaned>& cleaned = std::nullopt);

/// Fills one installation of a browser, with a profile that has data in every store; with `isCleaned`, as a cleaning
/// has to leave it. Both folders are below the home.
void fillInstallation(const ScratchFolder& home, const tidewell::Browser& browser, const std::string& dataFolder,
                      const std::string& cacheFolder, bool isCleaned);

/// The folders in that home that must be granted for that browser, relative to it.
std::vector<std::string> foldersOfLinuxSampleHome(const std::string& browser);

}  // namespace testing_support
