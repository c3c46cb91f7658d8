// The person's own folders, as desktops agree on them (XDG Base Directory Specification, version 0.8).
#pragma once

#include <optional>
#include <string>

namespace platform::linux_ {

/// $HOME, or the password database's answer where that is not set.
std::string homeFolder();

/// $XDG_CONFIG_HOME, or ".config" in the home folder. A relative value counts as not set.
std::string configurationFolder();

/// $XDG_CONFIG_HOME and $XDG_CACHE_HOME alone. Absent when not set, or relative.
std::optional<std::string> movedConfigurationFolder();
std::optional<std::string> movedCachesFolder();

/// $XDG_DATA_HOME, or ".local/share" in the home folder. A relative value counts as not set.
std::string dataFolder();

}  // namespace platform::linux_
