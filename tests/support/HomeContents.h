// The contents of all files of a home folder at one moment, read in the formats of today's browsers too.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/ScratchFolder.h"

namespace testing_support {

/// Changes nothing: what reading could change is read as a copy.
struct HomeContents {
  explicit HomeContents(const ScratchFolder& home);

  std::map<std::string, std::string> files;  // path to permissions and bytes, or to where a link leads
  std::set<std::string> folders;

  /// Path to decoded content: the rows of a SQLite database, the text of a session of Firefox, the entries of a LevelDB
  /// folder (with a slash at its end), and the bytes of anything else. Files of a database are not listed separately.
  std::map<std::string, std::string> meanings;

  /// Paths of all files that are in both and differ in their bytes or permissions.
  std::vector<std::string> changedSince(const HomeContents& before) const;
  /// Paths of all files that are in `before` but not in this.
  std::vector<std::string> goneSince(const HomeContents& before) const;
  std::vector<std::string> addedSince(const HomeContents& before) const { return before.goneSince(*this); }

  /// Paths whose meaning differs, or that are in one of the two only: "missing PATH", "other PATH", "extra PATH".
  std::vector<std::string> differencesFrom(const HomeContents& expected) const;

  /// The paths of all files with the text in their content or name.
  std::vector<std::string> mentioning(const std::string& text) const;
};

}  // namespace testing_support
