#include "Platform/Linux/host/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

std::string absoluteFromEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value == '/' ? value : "";
}

std::string folderFromEnvironment(const char* variable, const char* inHome) {
  const std::string folder = absoluteFromEnvironment(variable);
  return !folder.empty() ? folder : appendingPathComponent(homeFolder(), inHome);
}

std::optional<std::string> movedFolder(const char* variable) {
  std::string folder = absoluteFromEnvironment(variable);
  return !folder.empty() ? std::optional(pathWithComponents(pathComponents(folder))) : std::nullopt;
}

}  // namespace

std::string homeFolder() {
  std::string home = absoluteFromEnvironment("HOME");
  if (!home.empty()) return home;
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> buffer{};
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return "/";
  return found->pw_dir;
}

std::string configurationFolder() {
  return folderFromEnvironment("XDG_CONFIG_HOME", ".config");
}

std::optional<std::string> movedConfigurationFolder() {
  return movedFolder("XDG_CONFIG_HOME");
}

std::optional<std::string> movedCachesFolder() {
  return movedFolder("XDG_CACHE_HOME");
}

std::string dataFolder() {
  return folderFromEnvironment("XDG_DATA_HOME", ".local/share");
}

}  // namespace platform::linux_
