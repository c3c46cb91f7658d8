// The profiles of a list, by how they are placed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Worker/formats/ProfilesIni.h"

namespace testing_support {

inline std::vector<std::string> absoluteProfiles(std::string_view list) {
  std::vector<std::string> profiles = tidewell::listedProfiles(list);
  std::erase_if(profiles, [](const std::string& profile) { return !tidewell::isAbsoluteProfile(profile); });
  return profiles;
}

inline std::vector<std::string> nestedProfiles(std::string_view list) {
  std::vector<std::string> profiles = tidewell::listedProfiles(list);
  std::erase_if(profiles, tidewell::isAbsoluteProfile);
  return profiles;
}

}  // namespace testing_support
