// "profiles.ini", the file in which Firefox and its relatives list their profiles.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

inline constexpr char kProfilesIni[] = "profiles.ini";
inline constexpr std::size_t kLargestProfilesIni = std::size_t{1} << 20;  // bytes

/// The folders of the profiles that the list names by absolute paths.
std::vector<std::string> absoluteProfiles(std::string_view list);

/// The folders of those that lie deeper than directly beside the list, relative to the list's folder.
std::vector<std::string> nestedProfiles(std::string_view list);

}  // namespace tidewell
