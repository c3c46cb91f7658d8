// Facts that all browsers of a family share.
#pragma once

#include <string_view>

#include "Worker/browsers/Browser.h"

namespace tidewell {

struct FamilyFacts {
  /// Main programs start helpers under their own name. An argument marks a helper if it is one of these, or begins with
  /// one of these that ends in "=".
  FixedList<std::string_view, 5> helperMarks;

  /// Arguments that name a folder to use in place of the usual one: the folder follows the "=", or is the next
  /// argument.
  FixedList<std::string_view, 2> folderOptions;

  using FileNames = FixedList<std::string_view, 2>;
  /// One of these files is in every folder with profiles: none where the family puts no file there for certain. One of
  /// these is in every profile, even one that the browser has only begun to fill.
  FileNames filesOfDataFolder = {};
  FileNames filesOfProfile = {};

  /// Whether that folder is a single profile, with its caches in it, or one that holds profiles.
  bool namesSingleProfiles = false;
};

const FamilyFacts& factsOf(Family family);

}  // namespace tidewell
