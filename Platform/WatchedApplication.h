// An application, by the programs that run it.
#pragma once

#include <string>
#include <vector>

namespace platform {

struct WatchedApplication {
  std::string applicationName;
  std::string bundleIdentifier;
  std::vector<std::string> executableNames;   // file names of its main program
  std::vector<std::string> executablePlaces;  // its other paths: patterns of glob(7), "~/" is the home folder

  /// Main programs start helpers under their own name. An argument marks a helper if it is one of these, or begins with
  /// one of these that ends in "=".
  std::vector<std::string> helperMarks;
};

}  // namespace platform
