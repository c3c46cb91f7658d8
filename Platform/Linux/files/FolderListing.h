// The entries of an open folder.
#pragma once

#include <functional>
#include <string>
#include <system_error>

namespace platform::linux_ {

struct FolderEntry {
  const char* name;
  unsigned char type;  // DT_…, DT_UNKNOWN where the file system does not say
};

/// Calls `take` for every entry but "." and "..", in the file system's order, from the folder's beginning.
std::error_code listFolder(int folder, const std::function<void(const FolderEntry&)>& take);

/// Whether an entry is a folder (a link to one is not).
bool isFolder(int folder, const FolderEntry& entry);

}  // namespace platform::linux_
