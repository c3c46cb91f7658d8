// The person's home folder, whatever its layout.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tidewell {

/// A folder that a browser was started with, other than its usual places.
struct StartedWith {
  std::string bundleIdentifier;
  std::string folder;  // a whole path

  bool operator==(const StartedWith&) const = default;
};

/// Read-only access to the files of a home.
struct HomeEyes {
  using Test = std::function<bool(const std::string& path)>;

  Test isFolder;
  Test mayBeFolder;    // also true when the path can't be examined
  Test mayBeThere;     // whatever is at the path; also true when it can't be examined
  Test mayBeEmpty;     // of a folder; also true when it can't be listed
  Test isRegularFile;  // a link to one is none
  /// The folders that a list of profiles names (ProfilesIni.h). Its own folder may need a grant; none when the file
  /// can't be read.
  std::function<std::vector<std::string>(const std::string& path)> profilesListedIn;
  /// Where a path leads when its links and dots are resolved, in as much of it as exists.
  std::function<std::string(const std::string& path)> withoutLinks;
};

struct HomeFolder {
  std::string path;  // a whole path

  // Where the session has moved the folders ".config" and ".cache"; absent when it has not.
  std::optional<std::string> configurationFolder;
  std::optional<std::string> cachesFolder;

  /// The person's standard folders (Documents, Downloads, …), and those in which all programs keep their files, with
  /// their links resolved.
  std::vector<std::string> personalFolders;

  std::vector<StartedWith> startedWith;
  HomeEyes eyes;
};

}  // namespace tidewell
