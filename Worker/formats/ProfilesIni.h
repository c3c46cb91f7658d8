// "profiles.ini", the file in which Firefox and its relatives list their profiles.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

inline constexpr char kProfilesIni[] = "profiles.ini";
inline constexpr std::size_t kLargestProfilesIni = std::size_t{1} << 20;  // bytes

/// The folders of the profiles that the list names: by absolute paths, or, where they lie deeper than directly beside
/// the list, relative to the list's folder. None has "." or ".." in it.
std::vector<std::string> listedProfiles(std::string_view list);
bool isAbsoluteProfile(std::string_view folder);

}  // namespace tidewell
