// Removes folders with all of their contents.
#pragma once

#include <string>
#include <system_error>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/FileErasure.h"

namespace platform::linux_ {

/// Removes the folder `name` of the open folder `parent`; files go by `files`. Links are removed, never followed, and
/// what lies on another mount is not entered. Continues past what it can't remove, and counts what it has done and left
/// in `erasure`. A folder that is filled again meanwhile is emptied again, a limited number of times. Works for trees
/// of any depth.
void removeTree(int parent, const std::string& name, FileErasure& files, Erasure& erasure);

/// Removes the item `name` of the open folder `parent`: a folder as above, anything else by `files`.
void removeItem(int parent, const std::string& name, FileErasure& files, Erasure& erasure);

/// The same without overwriting; that the item is missing is an error.
Erasure removeAt(int parent, const std::string& name);

/// What is told of an item that stays for that reason.
Erasure notErased(std::error_code error);

}  // namespace platform::linux_
