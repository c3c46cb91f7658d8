// A preview as people read it: groups, the lines of each, and the total.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tidewell {

struct PreviewList {
  struct Line {
    std::string place;    // a path, "~" for the home folder
    std::string details;  // how much of it goes, and what else there is to say
    std::uint64_t bytes = 0;
  };
  struct Group {
    std::string name;
    std::string details = {};
    std::uint64_t bytes = 0;
    std::vector<Line> lines = {};
  };

  std::string total;               // "" for nothing to remove
  std::vector<Group> groups = {};  // those with lines; the last may be of what stays

  /// Reads what "tidewell preview --json" prints; absent when it is something else.
  static std::optional<PreviewList> from(const std::string& output, const std::string& home);
};

}  // namespace tidewell
