// "profiles.ini", the file in which Firefox and its relatives list their profiles.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

inline constexpr char kProfilesIni[] = "profiles.ini";

/// The folders of the profiles that the list places by a whole path, outside of the folder that it lies in.
std::vector<std::string> absoluteProfiles(std::string_view list);

/// Those that lie deeper than right beside the list, relative to the folder that it lies in.
std::vector<std::string> nestedProfiles(std::string_view list);

}  // namespace tidewell
