// Folders that a browser was told to use when it was started, in place of its own.
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

/// What the arguments name, as the browser's family has it: a data folder, or a single profile. Whole paths alone.
/// A browser may leave its arguments as one text, joined by blanks: the longest that is a folder is taken then.
std::vector<std::string> foldersNamedIn(const std::vector<std::string>& arguments, const Browser& browser,
                                        const HomeEyes::Test& isFolder);

/// What the setting holds; anything else in it is passed over.
std::vector<StartedWith> startedWithFrom(const std::optional<platform::Value::Array>& setting);

/// Adds what the processes of a browser that has quit were started with, unless it is known, or lies in one of the
/// system's temporary folders: there it is some program's, and not a person's. The oldest give way to new ones.
void rememberFolders(const HomeFolder& home, const Layout& layout, const Browser& browser,
                     const std::vector<platform::Arguments>& processes);

}  // namespace tidewell
