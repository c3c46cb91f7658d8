#include "Platform/Linux/host/UserDirectories.h"

#include <array>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "Platform/Linux/host/RegularFile.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

struct Standard {
  const char* variable;
  const char* usualName;  // in the home
};

constexpr std::array<Standard, 8> kStandard = {{{"XDG_DESKTOP_DIR", "Desktop"},
                                                {"XDG_DOCUMENTS_DIR", "Documents"},
                                                {"XDG_DOWNLOAD_DIR", "Downloads"},
                                                {"XDG_MUSIC_DIR", "Music"},
                                                {"XDG_PICTURES_DIR", "Pictures"},
                                                {"XDG_PUBLICSHARE_DIR", "Public"},
                                                {"XDG_TEMPLATES_DIR", "Templates"},
                                                {"XDG_VIDEOS_DIR", "Videos"}}};

constexpr std::size_t kLargestList = 1 << 20;  // bytes; a real one has less than a thousand

/// The text between double quotes, in which a backslash stands before a character that is meant as such.
std::optional<std::string> unquoted(std::string_view text) {
  if (!text.starts_with('"')) return std::nullopt;
  std::string value;
  for (std::size_t at = 1; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\' && at + 1 < text.size()) ++at;
    value += text[at];
  }
  return value;
}

std::optional<std::string> wholePath(const std::string& value, const std::string& home) {
  constexpr std::string_view kHome = "$HOME";
  if (value.starts_with('/')) return value;
  const bool isInHome = value == kHome || value.starts_with(std::string(kHome) + "/");
  return isInHome ? std::optional(home + value.substr(kHome.size())) : std::nullopt;
}

}  // namespace

std::vector<std::string> userDirectoriesIn(std::string_view text, const std::string& home) {
  std::vector<std::string> folders;
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, line.find_first_not_of(" \t"));
    const std::size_t equals = line.find("_DIR=");
    if (!line.starts_with("XDG_") || equals == std::string::npos) continue;
    const auto value = unquoted(std::string_view(line).substr(line.find('=') + 1));
    const auto folder = value ? wholePath(*value, home) : std::nullopt;
    if (folder) folders.push_back(pathWithComponents(pathComponents(*folder)));
  }
  return folders;
}

std::vector<std::string> userDirectories(const std::string& home, const std::vector<std::string>& settingsFolders) {
  std::vector<std::string> folders;
  for (const Standard& standard : kStandard) {
    folders.push_back(appendingPathComponent(home, standard.usualName));
    const char* value = std::getenv(standard.variable);
    if (value != nullptr && *value == '/') folders.push_back(pathWithComponents(pathComponents(value)));
  }
  for (const std::string& settings : settingsFolders) {
    const auto list = contentsOfRegularFile(appendingPathComponent(settings, "user-dirs.dirs"), kLargestList);
    if (!list) continue;
    const std::vector<std::string> listed = userDirectoriesIn(*list, home);
    folders.insert(folders.end(), listed.begin(), listed.end());
  }
  return folders;
}

}  // namespace platform::linux_
