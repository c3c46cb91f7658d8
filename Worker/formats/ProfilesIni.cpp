#include "Worker/formats/ProfilesIni.h"

#include <algorithm>

#include "Platform/Path.h"

namespace tidewell {
namespace {

constexpr std::string_view kPath = "Path=";

std::string_view trimmed(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t begin = line.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return line.substr(begin, line.find_last_not_of(kBlanks) - begin + 1);
}

}  // namespace

std::vector<std::string> listedProfiles(std::string_view list) {
  std::vector<std::string> paths;
  bool isProfile = false;
  while (!list.empty()) {
    const std::size_t end = list.find('\n');
    const std::string_view line = trimmed(list.substr(0, end));
    list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
    // Sections of installations name profiles as well, but only those that have a section of their own.
    if (line.starts_with('[')) isProfile = line.starts_with("[Profile");
    if (!isProfile || !line.starts_with(kPath)) continue;
    const std::vector<std::string> components = platform::pathComponents(line.substr(kPath.size()));
    // A path of one component is the root folder, or a profile beside the list, which is found without it.
    const bool isPlain =
        components.size() > 1 && std::all_of(components.begin() + 1, components.end(), platform::isPlainName);
    const bool isRooted = isPlain && components[0] == "/";
    if (isRooted || (isPlain && platform::isPlainName(components[0]))) {
      paths.push_back(platform::pathWithComponents(components));
    }
  }
  return paths;
}

bool isAbsoluteProfile(std::string_view folder) {
  return folder.starts_with('/');
}

}  // namespace tidewell
