// Folders that a browser was started with, in place of its own.
//
// They are learned from the arguments of a browser that has quit, and kept in the shared settings: later runs clean
// them as well, and requests ask for them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Value.h"
#include "Platform/Workspace.h"
#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Layout.h"

namespace tidewell {

/// The folders that the arguments name in the way of the browser's family: data folders or single profiles, as absolute
/// paths only. Of arguments that the browser has joined with blanks into one text, the longest part that is a folder is
/// taken.
std::vector<std::string> foldersNamedIn(const std::vector<std::string>& arguments, const Browser& browser,
                                        const HomeEyes::Test& isFolder);

/// The entries of the setting; malformed ones are skipped.
std::vector<StartedWith> startedWithFrom(const std::optional<platform::Value::Array>& setting);

/// Adds the folders that the processes of a browser that has quit were started with, except known ones and those in the
/// system's temporary folders, which belong to programs and not to the person. New ones displace the oldest.
void rememberFolders(const HomeFolder& home, const Layout& layout, const Browser& browser,
                     const std::vector<platform::Arguments>& processes);

}  // namespace tidewell
