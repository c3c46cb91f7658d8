// The home of a person, before anything is known of its layout.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tidewell {

/// A folder that a browser was told to use when it was started, and that is not one of its usual places.
struct StartedWith {
  std::string bundleIdentifier;
  std::string folder;  // a whole path

  bool operator==(const StartedWith&) const = default;
};

/// How a home is looked at. None of these changes anything.
struct HomeEyes {
  using Test = std::function<bool(const std::string& path)>;

  Test isFolder;
  Test mayBeFolder;  // also true of what can't be looked at
  Test isThere;      // anything of that path
  /// Of a file inside a folder that may have to be granted; absent when it can't be read.
  std::function<std::optional<std::string>(const std::string& path)> contentsOf;
  /// Where a path leads when its links are resolved; may be empty.
  std::function<std::string(const std::string& path)> withoutLinks;
};

struct HomeFolder {
  std::string path;  // a whole path

  // Where the session has moved the folders ".config" and ".cache"; absent when it has not.
  std::optional<std::string> configurationFolder;
  std::optional<std::string> cachesFolder;

  std::vector<StartedWith> startedWith;
  HomeEyes eyes;
};

}  // namespace tidewell
