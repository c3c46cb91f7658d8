// Storage of Chromium in which an index names the owners. Internal to the treatments.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Worker/sandbox/Outcome.h"

namespace tidewell::treatments {

inline constexpr std::size_t kLargestOrigin = std::size_t{64} << 10;  // bytes

/// What a file says: whether that which it names stays. Absent when it can't be told: then it stays, and is reported.
using SaysThatItStays = std::function<std::optional<bool>(const std::string& file)>;

struct FileSystemOwners {
  std::function<bool(std::string_view identifier)> isKept;  // "https_a.test_0"
  std::function<bool(std::string_view bytes)> isPrecious;   // in a damaged database, see LevelDatabase
  SaysThatItStays firstStays;                               // of the file that names the first owner
  bool leavesUnnamed = false;                               // what may be a kept owner's, without a database to name it
};

/// Removes the folders of other owners in File System, and their names.
Outcome removeFileSystemsUnless(const std::string& path, const FileSystemOwners& owners);

}  // namespace tidewell::treatments
