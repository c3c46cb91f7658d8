// A home folder that holds data of all five browsers, and the changes that a cleaning has made in it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/support/ScratchFolder.h"

namespace testing_support {

// Folders of the sample home, each with its last slash.
inline constexpr char kSafari[] = "Library/Safari/";
inline constexpr char kFirefox[] = "Library/Application Support/Firefox/Profiles/";
inline constexpr char kChrome[] = "Library/Application Support/Google/Chrome/";
inline constexpr char kChromium[] = "Library/Application Support/Chromium/";
inline constexpr char kOpera[] = "Library/Application Support/com.operasoftware.Opera/";
inline constexpr char kCaches[] = "Library/Caches/";

/// Fills the folder. Chrome and Chromium list two profiles each and have a third folder that looks like one; Firefox
/// has two profiles and a plain file among them.
void fillSampleHome(const ScratchFolder& home);

/// The contents of a home folder at one moment.
struct HomeState {
  explicit HomeState(const ScratchFolder& home);

  std::map<std::string, std::string> items;              // path to kind, permissions and content
  std::map<std::string, std::vector<std::string>> rows;  // a database's path to "TABLE: VALUES", in their order
};

/// All differences between two states: a path that is in none of the five lists is unchanged.
struct HomeDifference {
  HomeDifference(const HomeState& before, const HomeState& after);

  std::vector<std::string> gone;      // a folder that has gone entirely is named once, with a slash
  std::vector<std::string> goneRows;  // "PATH, TABLE: VALUES"
  std::vector<std::string> added;     // paths and rows
  std::vector<std::string> changed;   // files with other content
  std::vector<std::string> touched;   // databases with other bytes but the same rows: SQLite counts transactions
};

}  // namespace testing_support
