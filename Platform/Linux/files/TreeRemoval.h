// Removes a folder with all of its contents.
#pragma once

#include <string>
#include <system_error>

namespace platform::linux_ {

/// Removes the folder `name` of the open folder `parent`. Links are removed, never followed. Continues past what it
/// can't remove, and returns the first error. A folder that is filled again meanwhile is emptied again, a limited
/// number of times. Works for trees of any depth.
std::error_code removeTree(int parent, const std::string& name);

}  // namespace platform::linux_
