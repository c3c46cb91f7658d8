// The person's own folders (XDG Base Directory Specification, version 0.8).
#pragma once

#include <optional>
#include <string>

namespace platform::linux_ {

/// $HOME, or the home folder in the password database when that is not set.
std::string homeFolder();

/// $XDG_CONFIG_HOME, or ".config" in the home folder. A relative value counts as not set.
std::string configurationFolder();

/// $XDG_CONFIG_HOME and $XDG_CACHE_HOME alone. Absent when not set, or relative.
std::optional<std::string> movedConfigurationFolder();
std::optional<std::string> movedCachesFolder();

/// $XDG_DATA_HOME, or ".local/share" in the home folder. A relative value counts as not set.
std::string dataFolder();

}  // namespace platform::linux_
