// Storage of Chromium in which a database names the owners. Internal to the treatments.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "Worker/keeping/KeptSites.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell::treatments {

inline constexpr std::size_t kLargestOrigin = std::size_t{64} << 10;  // bytes

/// What a file says: whether that which it names stays. Absent when it can't be told: then it stays, and is reported.
using SaysThatItStays = std::function<std::optional<bool>(const std::string& file)>;

struct FileSystemOwners {
  KeptSites sites = {};             // which stay, beside extensions
  SaysThatItStays firstStays = {};  // of the file that names the first owner
};

/// Removes what belongs to no extension and to none of the sites from the database of Local Storage.
Outcome cleanLocalStorageUnless(const std::string& path, const KeptSites& sites);

/// Removes the folders of other owners in File System, and their names.
Outcome removeFileSystemsUnless(const std::string& path, const FileSystemOwners& owners);

}  // namespace tidewell::treatments
