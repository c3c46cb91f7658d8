// What all files of a home folder say at one moment, in the formats of today's browsers too.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/ScratchFolder.h"

namespace testing_support {

/// Only looks, at copies where looking could change something.
struct HomeContents {
  explicit HomeContents(const ScratchFolder& home);

  std::map<std::string, std::string> files;  // path to permissions and bytes, or to where a link leads
  std::set<std::string> folders;

  /// Path to what is said there: the rows of a database of SQLite, the text of a session of Firefox; of a folder with a
  /// database of LevelDB (with a slash at its end) the entries; of anything else the bytes. Files that belong to a
  /// database are not named.
  std::map<std::string, std::string> meanings;

  /// Paths of all files that are in both and differ in a byte, or in their permissions.
  std::vector<std::string> changedSince(const HomeContents& before) const;
  /// Paths of all files that are in the other and not in this.
  std::vector<std::string> goneSince(const HomeContents& before) const;
  std::vector<std::string> addedSince(const HomeContents& before) const { return before.goneSince(*this); }

  /// Paths of what doesn't say the same, or is only in one of the two: "missing PATH", "other PATH", "extra PATH".
  std::vector<std::string> differencesFrom(const HomeContents& expected) const;

  /// The paths of all files in which the text is found, in their names too.
  std::vector<std::string> mentioning(const std::string& text) const;
};

}  // namespace testing_support
