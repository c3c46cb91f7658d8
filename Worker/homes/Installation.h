// One installation of a browser: where it keeps its data.
#pragma once

#include <string>
#include <vector>

namespace tidewell {

struct Installation {
  enum class Kind {
    kWhole,    // the folder with all profiles
    kProfile,  // a single profile, with its caches in it
  };

  std::string dataFolder;  // begins with "~" on a home with a Library, with "/" on others
  std::vector<std::string> cacheFolders;
  Kind kind = Kind::kWhole;

  bool operator==(const Installation&) const = default;
};

/// The folders of one installation in which stores lie, each kind with a table of its own.
struct StoreFolders {
  std::string dataFolder;  // "" for a single profile
  std::vector<std::string> profiles;
  std::vector<std::string> caches;  // of the profiles
};

}  // namespace tidewell
