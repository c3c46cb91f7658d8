// A list of profiles with any content: each leads straight down, or is a whole path without dots.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "Platform/Path.h"
#include "Worker/formats/ProfilesIni.h"
#include "tests/support/ListedProfiles.h"

namespace {

using Paths = std::vector<std::string>;
using testing_support::absoluteProfiles;
using testing_support::nestedProfiles;

bool isStraight(std::string_view path) {
  if (path.starts_with('/')) path.remove_prefix(1);
  const std::vector<std::string> components = platform::pathComponents(path);
  return !components.empty() && std::all_of(components.begin(), components.end(), platform::isPlainName);
}

/// The paths, and the one that a further profile adds.
Paths with(Paths paths, const char* added) {
  paths.emplace_back(added);
  return paths;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string list(reinterpret_cast<const char*>(bytes), size);
  const Paths absolute = absoluteProfiles(list);
  const Paths nested = nestedProfiles(list);
  for (const std::string& path : absolute) {
    if (!path.starts_with('/') || !isStraight(path)) std::abort();
  }
  for (const std::string& path : nested) {
    if (path.starts_with('/') || !isStraight(path)) std::abort();
  }
  // Nothing before it hides a profile.
  const std::string longer = list + "\n[Profile7]\nPath=Profiles/seventh\n[Profile8]\r\nPath=/home/ann/eighth\r\n";
  if (nestedProfiles(longer) != with(nested, "Profiles/seventh")) std::abort();
  if (absoluteProfiles(longer) != with(absolute, "/home/ann/eighth")) std::abort();
  return 0;
}
