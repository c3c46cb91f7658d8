#include "Platform/Linux/processes/ExecutableFinder.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/host/RegularFile.h"
#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

constexpr std::string_view kMachineProgram =
    "\x7f"
    "ELF";
constexpr std::string_view kScript = "#!";
constexpr std::size_t kLargestEntry = 1 << 20;  // bytes, of a desktop entry; a real one has a few thousand

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    if (end > 0) parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

std::string environmentOr(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

std::vector<std::string> filesMatching(const std::string& pattern) {
  glob_t matches{};
  std::vector<std::string> files;
  if (::glob(pattern.c_str(), GLOB_NOSORT, nullptr, &matches) == 0) {
    files.assign(matches.gl_pathv, matches.gl_pathv + matches.gl_pathc);
  }
  ::globfree(&matches);
  return files;
}

std::string lastComponent(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

/// The program that a desktop entry starts: the first word of "Exec" in its main group (Desktop Entry Specification,
/// version 1.5), or the one behind "env NAME=VALUE".
std::optional<std::string> programOfDesktopEntry(const std::string& file) {
  std::istringstream stream(contentsOfRegularFile(file, kLargestEntry).value().value_or(""));
  std::string line;
  bool isMainGroup = false;
  while (std::getline(stream, line)) {
    if (line.starts_with('[')) isMainGroup = line.starts_with("[Desktop Entry]");
    if (!isMainGroup || !line.starts_with("Exec")) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || line.find_first_not_of(' ', 4) != equals) continue;
    for (std::string word : split(std::string_view(line).substr(equals + 1), ' ')) {
      std::erase(word, '"');
      if (lastComponent(word) != "env" && word.find('=') == std::string::npos) return word;
    }
  }
  return std::nullopt;
}

std::vector<std::string> programsOfDesktopEntries(const std::vector<std::string>& folders) {
  std::vector<std::string> programs;
  for (const std::string& folder : folders) {
    for (const std::string& entry : filesMatching(folder + "/*.desktop")) {
      if (auto program = programOfDesktopEntry(entry); program && program->starts_with('/')) {
        programs.push_back(std::move(*program));
      }
    }
  }
  return programs;
}

/// A link to a program of another name there may lead to one that starts many applications.
bool isSharedFolder(const std::string& folder) {
  constexpr std::array kShared = {"/usr/bin", "/bin", "/usr/sbin", "/sbin", "/usr/local/bin", "/snap/bin"};
  return std::find(kShared.begin(), kShared.end(), folder) != kShared.end();
}

class Finder {
 public:
  Finder(const WatchedApplication& application, PathWatch::Interests& appearing)
      : application_(application), appearing_(appearing) {}

  /// Takes the file at the path, if one is there, and watches for it to appear.
  void consider(const std::string& path) {
    appearing_.addAppearing(path);
    std::array<char, PATH_MAX> resolved;
    if (::realpath(path.c_str(), resolved.data()) == nullptr) return;
    const std::string file = resolved.data();
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    if (file != path) appearing_.addAppearing(file);
    if (!hasNameOf(application_, file) && !hasPlaceOf(application_, file) &&
        isSharedFolder(deletingLastPathComponent(file)))
      return;
    // Some installers write a program first, and make it one that may be run afterwards.
    const FileKind kind = kindOf(file);
    const bool mayBeRun = (status.st_mode & 0111) != 0;
    if (!mayBeRun || kind == FileKind::unknown) appearing_.unfinished.insert(file);
    if (mayBeRun) (kind == FileKind::program ? found_.programs : found_.scripts).insert(file);
  }

  FoundExecutables take() { return std::move(found_); }

 private:
  enum class FileKind { program, script, unknown };

  static FileKind kindOf(const std::string& file) {
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    // One that may be run but not read is a program: scripts must be readable.
    if (!descriptor) return FileKind::program;
    std::array<char, kMachineProgram.size()> buffer{};
    const ssize_t count = ::read(descriptor.get(), buffer.data(), buffer.size());
    const std::string_view start(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    if (start == kMachineProgram) return FileKind::program;
    return start.starts_with(kScript) ? FileKind::script : FileKind::unknown;
  }

  const WatchedApplication& application_;
  PathWatch::Interests& appearing_;
  FoundExecutables found_;
};

}  // namespace

bool hasPlaceOf(const WatchedApplication& application, const std::string& executable) {
  const std::vector<std::string>& places = application.executablePlaces;
  return std::any_of(places.begin(), places.end(), [&](const std::string& pattern) {
    return ::fnmatch(pattern.c_str(), executable.c_str(), FNM_PATHNAME) == 0;
  });
}

bool hasNameOf(const WatchedApplication& application, const std::string& executable) {
  const std::vector<std::string>& names = application.executableNames;
  return std::find(names.begin(), names.end(), lastComponent(executable)) != names.end();
}

SearchPlaces SearchPlaces::fromEnvironment() {
  SearchPlaces places;
  places.path = split(environmentOr("PATH", "/usr/local/bin:/usr/bin:/bin"), ':');
  std::erase_if(places.path, [](const std::string& folder) { return !folder.starts_with('/'); });
  places.applicationsFolders.push_back(dataFolder() + "/applications");
  for (const std::string& folder : split(environmentOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share"), ':')) {
    places.applicationsFolders.push_back(folder + "/applications");
  }
  return places;
}

std::vector<FoundExecutables> findExecutables(const std::vector<WatchedApplication>& applications,
                                              const SearchPlaces& places, PathWatch::Interests& appearing) {
  const std::vector<std::string> entries = programsOfDesktopEntries(places.applicationsFolders);
  for (const std::string& folder : places.applicationsFolders) appearing.addAppearing(folder + "/*.desktop");
  std::vector<FoundExecutables> found;
  for (const WatchedApplication& application : applications) {
    Finder finder(application, appearing);
    for (const std::string& folder : places.path) {
      for (const std::string& name : application.executableNames) finder.consider(appendingPathComponent(folder, name));
    }
    for (const std::string& program : entries) {
      if (hasNameOf(application, program)) finder.consider(program);
    }
    for (const std::string& place : application.executablePlaces) {
      for (const std::string& file : filesMatching(place)) finder.consider(file);
      appearing.addAppearing(place);
    }
    found.push_back(finder.take());
  }
  return found;
}

}  // namespace platform::linux_
