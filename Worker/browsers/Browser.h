// A browser, as everything here knows it: one row of the table in Browsers.cpp.
#pragma once

#include <string_view>

#include "Worker/browsers/FixedList.h"

namespace tidewell {

/// Browsers that keep their data alike. What each family knows once is in Family.h.
enum class Family { kSafari, kFirefox, kChromium };

/// Where data lie in a home. Paths begin with "~".
struct Place {
  std::string_view dataFolder;
  std::string_view cacheFolder;
};

struct Browser {
  std::string_view name;              // by which a cleaning run knows it; compared exactly
  std::string_view bundleIdentifier;  // compared exactly
  Family family;

  /// What a person may call it besides, in lower case. The first is shown where a short name is wanted.
  FixedList<std::string_view, 5> words = {};

  /// On a home with a Library. Empty for a browser that is only cleaned on others.
  Place library = {};

  /// On a home without one, in the order in which they are visited: distributions and makers, Flatpak, Snap.
  FixedList<Place, 10> places = {};

  /// File names of the main program: a process that runs a file of such a name is the browser. Wrapper scripts and
  /// their interpreters never bear these names: it is the program behind them that runs on.
  FixedList<std::string_view, 4> executableNames = {};
  /// Where makers' packages and sandboxed installations put it, outside the search path; patterns as of glob(7), where
  /// a leading "~/" is the home folder.
  FixedList<std::string_view, 10> executablePlaces = {};

  /// Opera keeps its one profile in the data folder itself.
  bool hasProfileInDataFolder = false;
  /// Other programs have folders of the same names: one counts only with a list of profiles in it.
  bool needsProfilesList = false;
  /// Carries a Flash plug-in of its own, and so leaves the system's alone.
  bool hasFlashOfItsOwn = false;

  constexpr bool isOnHomesWithLibrary() const { return !library.dataFolder.empty(); }
  constexpr bool isOnOtherHomes() const { return !places.empty(); }
};

}  // namespace tidewell
