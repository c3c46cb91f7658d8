// An application, by the programs that run it.
#pragma once

#include <string>
#include <vector>

namespace platform {

struct WatchedApplication {
  std::string applicationName;
  std::string bundleIdentifier;
  std::vector<std::string> executableNames;   // file names of its main program
  std::vector<std::string> executablePlaces;  // where it may lie as well; patterns of glob(7), "~/" is the home folder

  /// Main programs start helpers under their own name. An argument that is one of these, or begins with one that ends
  /// in
  /// "=", marks a helper.
  std::vector<std::string> helperMarks;
};

}  // namespace platform
