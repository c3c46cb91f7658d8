#include "Worker/FirefoxProfiles.h"

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

std::vector<std::string> absoluteProfiles(std::string_view list) {
  std::vector<std::string> folders;
  bool isProfile = false;
  while (!list.empty()) {
    const std::size_t end = list.find('\n');
    const std::string_view line = trimmed(list.substr(0, end));
    list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
    // Other sections, of installations, name profiles as well, but only such as have a section of their own.
    if (line.starts_with('[')) isProfile = line.starts_with("[Profile");
    if (!isProfile || !line.starts_with(kPath)) continue;
    const std::string_view path = line.substr(kPath.size());
    const std::vector<std::string> components = platform::pathComponents(path);
    // A relative one lies beside the list and is found there.
    if (!path.starts_with('/') || components.size() < 2) continue;
    const bool isPlain = std::all_of(components.begin() + 1, components.end(), platform::isPlainName);
    if (isPlain) folders.push_back(platform::pathWithComponents(components));
  }
  return folders;
}

}  // namespace tidewell
