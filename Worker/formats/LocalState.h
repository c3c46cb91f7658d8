// "Local State", the file in which Chromium and its relatives list the profiles in a data folder.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace tidewell {

inline constexpr char kLocalState[] = "Local State";

/// From the name of a profile's folder, relative to the data folder, to the profile's display name.
using ProfileMap = std::map<std::string, std::string>;

/// The profiles that the text lists; one without a display name is left out. Empty for a text that lists none, is no
/// JSON, or exceeds its bounds (JsonBounds.h; a million values). Folder names are not checked: one may lead anywhere.
ProfileMap profilesOfLocalState(std::string_view text);

}  // namespace tidewell
