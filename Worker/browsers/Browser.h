// A browser: one row of the table in Browsers.cpp.
#pragma once

#include <string_view>

#include "Worker/browsers/FixedList.h"

namespace tidewell {

/// Browsers that keep their data alike. The facts about each family are in Family.h.
enum class Family { kSafari, kFirefox, kChromium };

/// Where a browser's data lies in a home. Paths begin with "~".
struct Place {
  std::string_view dataFolder;
  std::string_view cacheFolder;
};

struct Browser {
  std::string_view name;              // identifies it in a cleaning run; compared exactly
  std::string_view bundleIdentifier;  // compared exactly
  Family family;

  /// Other names that the person may use for it, in lower case. The first is shown where a short name is needed.
  FixedList<std::string_view, 5> words = {};

  /// Its place on a home with a Library. Empty for a browser that is only cleaned on other homes.
  Place library = {};

  /// Its places on a home without a Library, in the order of visits: distributions and makers, Flatpak, Snap.
  FixedList<Place, 10> places = {};

  /// File names of the main program: a process that runs a file of such a name is the browser. A wrapper script's
  /// process runs an interpreter, which never has such a name.
  FixedList<std::string_view, 4> executableNames = {};
  /// Where makers' packages and sandboxed installations put the main program, outside the search path: glob(7)
  /// patterns, in which a leading "~/" is the home folder.
  FixedList<std::string_view, 10> executablePlaces = {};

  /// Opera keeps its one profile in the data folder itself.
  bool hasProfileInDataFolder = false;
  /// Other programs use folders of the same names: a folder counts only with a list of profiles in it.
  bool needsProfilesList = false;
  /// Carries a Flash plug-in of its own, and so leaves the system's alone.
  bool hasFlashOfItsOwn = false;

  constexpr bool isOnHomesWithLibrary() const { return !library.dataFolder.empty(); }
  constexpr bool isOnOtherHomes() const { return !places.empty(); }
};

}  // namespace tidewell
