// How much is in a folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tidewell {

struct TreeSize {
  std::uint64_t files = 0;  // everything but folders
  std::uint64_t bytes = 0;  // of the regular files
};

/// The size of a file, or of a folder with all that is in it, however deep. Links are not followed, and other mounts
/// and what can't be listed are not counted. Absent when nothing is there.
std::optional<TreeSize> sizeOfTree(const std::string& path);

}  // namespace tidewell
