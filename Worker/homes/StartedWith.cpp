#include "Worker/homes/StartedWith.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr std::string_view kDataFolder = "--user-data-dir=";
constexpr std::array<std::string_view, 2> kProfile = {"-profile", "--profile"};
constexpr std::array<std::string_view, 3> kTemporaryFolders = {"/tmp", "/var/tmp", "/dev/shm"};
constexpr std::size_t kMostKept = 16;
constexpr std::size_t kLongestPath = 4096;  // bytes

/// The longest of `start`, `start` and the next word, and so on that is a folder; up to the next option.
std::optional<std::string> folderBeginningWith(std::string start, const std::vector<std::string>& words,
                                               std::size_t next,
                                               const std::function<bool(const std::string& path)>& isFolder) {
  if (!start.starts_with('/')) return std::nullopt;
  std::string folder = isFolder(start) ? start : "";
  for (; next < words.size() && !words[next].starts_with('-') && start.size() < kLongestPath; ++next) {
    start += ' ' + words[next];
    if (isFolder(start)) folder = start;
  }
  const std::vector<std::string> components = platform::pathComponents(folder);
  if (components.empty()) return std::nullopt;
  const bool isPlain = std::all_of(components.begin() + 1, components.end(),
                                   [](const std::string& component) { return platform::isPlainName(component); });
  return isPlain && components.size() > 1 ? std::optional(platform::pathWithComponents(components)) : std::nullopt;
}

bool isTemporary(const std::string& folder, const std::string& home) {
  if (!home.empty() && platform::isPathInside(folder, home)) return false;
  return std::any_of(kTemporaryFolders.begin(), kTemporaryFolders.end(),
                     [&](std::string_view temporary) { return platform::isPathInside(folder, temporary); });
}

bool isKnown(const Home& home, const Browser& browser, const std::string& folder) {
  const std::vector<Installation> installations = home.installationsOf(browser);
  return std::any_of(installations.begin(), installations.end(), [&](const Installation& installation) {
    return platform::isPathInside(folder, installation.dataFolder);
  });
}

}  // namespace

std::vector<std::string> foldersNamedIn(const std::vector<std::string>& arguments, const Browser& browser,
                                        const std::function<bool(const std::string& path)>& isFolder) {
  std::vector<std::string> folders;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    std::optional<std::string> folder;
    if (isOfChromeFamily(browser.name) && argument.starts_with(kDataFolder)) {
      folder = folderBeginningWith(argument.substr(kDataFolder.size()), arguments, index + 1, isFolder);
    } else if (browser.name == kFirefox && index + 1 < arguments.size() &&
               std::find(kProfile.begin(), kProfile.end(), argument) != kProfile.end()) {
      folder = folderBeginningWith(arguments[index + 1], arguments, index + 2, isFolder);
    }
    if (folder) folders.push_back(*folder);
  }
  return folders;
}

std::vector<StartedWith> startedWithFrom(const std::optional<Value::Array>& setting) {
  std::vector<StartedWith> found;
  for (const Value& entry : setting.value_or(Value::Array())) {
    const auto* pair = entry.as<Value::Array>();
    if (pair == nullptr || pair->size() != 2) continue;
    const auto* identifier = (*pair)[0].as<std::string>();
    const auto* folder = (*pair)[1].as<std::string>();
    if (identifier != nullptr && folder != nullptr && folder->starts_with('/')) found.push_back({*identifier, *folder});
  }
  return found;
}

void rememberFolders(const Browser& browser, const std::vector<platform::Arguments>& processes) {
  Home home = Home::whole();
  if (home.layout == HomeLayout::kLibrary) return;
  // Nobody is asked for a list of profiles here: what is remembered although it is in one does no harm.
  home.contentsOf = [](const std::string&) { return std::nullopt; };
  std::vector<StartedWith>& known = home.startedWith;
  const std::vector<StartedWith> before = known;
  for (const platform::Arguments& arguments : processes) {
    for (const std::string& folder : foldersNamedIn(arguments, browser, home.isFolder)) {
      if (!isKnown(home, browser, folder) && !isTemporary(folder, home.folder)) {
        known.push_back({std::string(browser.bundleIdentifier), folder});
      }
    }
  }
  if (known == before) return;
  if (known.size() > kMostKept) known.erase(known.begin(), known.end() - kMostKept);
  Value::Array setting;
  for (const StartedWith& started : known) {
    setting.emplace_back(Value::Array{Value(started.bundleIdentifier), Value(started.folder)});
  }
  const auto suite = Platform::current().userDefaults.suite(kSharedSuite);
  suite->setObject(Value(setting), kStartedWithKey);
  suite->synchronize();
}

}  // namespace tidewell
