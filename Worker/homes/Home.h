// How the person's home is laid out, and where in it each browser keeps its data.
//
// There are two layouts. A home with a folder "Library" has everything in the places that the table of browsers names.
// Any other home is laid out as the XDG Base Directory Specification has it, and there a browser can be installed more
// than once: by the distribution or its maker, as a Flatpak, as a Snap.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/System.h"
#include "Platform/UserDefaults.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {

enum class HomeLayout { kLibrary, kXDG };

/// Where one installation of a browser keeps its data. On a home with a Library paths begin with "~", on others with
/// "/".
struct Installation {
  enum class Kind {
    kWhole,    // the folder with all profiles
    kProfile,  // a single profile, with its caches in it
  };

  std::string dataFolder;
  std::vector<std::string> cacheFolders;
  Kind kind = Kind::kWhole;

  bool operator==(const Installation&) const = default;
};

/// A folder that a browser was told to use when it was started, and that is not one of its usual places.
struct StartedWith {
  std::string bundleIdentifier;
  std::string folder;  // a whole path

  bool operator==(const StartedWith&) const = default;
};

/// What has to be known of a home to find things in it. Only looks, changes nothing.
struct Home {
  std::string folder;  // a whole path
  HomeLayout layout = HomeLayout::kLibrary;
  bool cleansCurrentStores = false;  // and not only those of the browsers of old

  // Where the session has moved the folders ".config" and ".cache"; absent when it has not.
  std::optional<std::string> configurationFolder;
  std::optional<std::string> cachesFolder;

  std::vector<StartedWith> startedWith;

  using Test = std::function<bool(const std::string& path)>;
  using Reader = std::function<std::optional<std::string>(const std::string& path)>;
  Test isFolder;
  Reader contentsOf;  // of a file inside a folder that may have to be granted
  std::function<std::string(const std::string& path)> withoutLinks;  // where a path leads; may be empty

  /// The home as it is now, by the settings and files of the installed platform. Any thread.
  static Home whole();

  /// Likewise for the cleaners: on a home without a Library a folder that was not granted is not there. What is to be
  /// cleaned is asked for as a whole, once, and not at every step.
  static Home current();

  /// The home of the person with these settings. `mayBeFolder` also holds for what can't be looked at.
  static Home of(const platform::UserDefaults& shared, const platform::System& system, Test isFolder,
                 const Test& mayBeFolder, Reader contentsOf);

  /// The installations of a browser: on a home with a Library always the one place of the table, on any other those
  /// that exist.
  std::vector<Installation> installationsOf(const Browser& browser) const;

  /// Whether anything of that browser can be on this home.
  bool mayHave(std::string_view browserName) const { return layout == HomeLayout::kLibrary || browserName != kSafari; }

  /// Where plug-ins keep what sites left, on a home without a Library; those that exist.
  std::vector<std::string> pluginFolders() const;

  /// The folders that a browser's cleaning needs, as whole paths: on a home without a Library just those that a request
  /// asks for, in that order.
  std::vector<std::string> foldersNeededBy(const Browser& browser) const;

 private:
  std::vector<std::string> existing(std::string_view place) const;
  std::vector<std::string> cachesFor(const std::string& dataFolder) const;
  void appendInstallation(std::vector<Installation>& found, Installation installation) const;
  void dropCachesAmongData(std::vector<Installation>& found) const;
};

/// Removes a folder as the layout wants it: on a home with a Library as Sandbox::remove() does, on any other as
/// Sandbox::removeTree() does.
void removeFolder(const Home& home, const std::string& path);

/// The layout that a setting names; absent for anything but the name of one.
std::optional<HomeLayout> homeLayoutNamed(std::string_view name);

}  // namespace tidewell
