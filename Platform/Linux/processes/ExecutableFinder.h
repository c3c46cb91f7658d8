// Finds where an application's programs lie, as a desktop finds them: in desktop entries, on the search path and in the
// places that packages of their own put them.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "Platform/Linux/processes/PathWatch.h"
#include "Platform/WatchedApplication.h"

namespace platform::linux_ {

/// Whether a program at that path (links resolved) is the application's by its place, or by its name.
bool hasPlaceOf(const WatchedApplication& application, const std::string& executable);
bool hasNameOf(const WatchedApplication& application, const std::string& executable);

/// Where to look.
struct SearchPlaces {
  std::vector<std::string> path;                 // folders of programs
  std::vector<std::string> applicationsFolders;  // folders of desktop entries

  /// $PATH, and the folders of the XDG Base Directory Specification, version 0.8.
  static SearchPlaces fromEnvironment();
};

struct FoundExecutables {
  std::set<std::string> programs;  // machine programs, links resolved
  std::set<std::string> scripts;   // wrappers: a program that they start in the end runs the application

  bool operator==(const FoundExecutables&) const = default;
};

/// Looks for each application. `appearing` receives all that has to be watched to notice one that is installed,
/// replaced or removed later.
std::vector<FoundExecutables> findExecutables(const std::vector<WatchedApplication>& applications,
                                              const SearchPlaces& places, PathWatch::Interests& appearing);

}  // namespace platform::linux_
