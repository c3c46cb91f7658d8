// Removes items of a folder: files, and folders with all of their contents.
#pragma once

#include <string>
#include <system_error>
#include <vector>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/SharedWork.h"
#include "Platform/Linux/host/FileDescriptor.h"

namespace platform::linux_ {

/// Removes the items with these names from an open folder; regular files are overwritten first if that is wanted. Links
/// are removed, never followed, and what lies on another mount is not entered. Continues past what it can't remove, and
/// counts what it has done and left. A folder that is filled again meanwhile is emptied again, a limited number of
/// times. Works for trees of any depth, with a limited number of descriptors. Names that lead out of the folder are
/// refused (std::errc::invalid_argument).
///
/// What is worth it is shared by two threads. All is done when this returns.
Erasure removeItems(FileDescriptor folder, std::vector<std::string> names, Overwriting overwriting,
                    const Sharing& sharing);

/// Removes one item without overwriting; that it is missing is an error.
Erasure removeAt(FileDescriptor folder, const std::string& name, const Sharing& sharing);

/// What is told of an item that stays for that reason.
Erasure notErased(std::error_code error);

/// What is told of items whose folder could not be opened for that reason: nothing, where it is missing.
Erasure notReached(std::error_code error);

}  // namespace platform::linux_
