#include "Worker/homes/StartedWith.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/browsers/Family.h"
#include "Worker/homes/FolderForm.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr std::array<std::string_view, 3> kTemporaryFolders = {"/tmp", "/var/tmp", "/dev/shm"};
constexpr std::size_t kMostKept = 16;
constexpr std::size_t kLongestPath = 4096;  // bytes

/// The longest path of a folder made of `start` and any number of the words after it, up to the next option.
std::optional<std::string> folderBeginningWith(std::string start, const std::vector<std::string>& words,
                                               std::size_t next, const HomeEyes::Test& isFolder) {
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

/// The folder that the option names, if the option is at `index` in the arguments.
std::optional<std::string> folderBehind(std::string_view option, const std::vector<std::string>& arguments,
                                        std::size_t index, const HomeEyes::Test& isFolder) {
  const std::string& argument = arguments[index];
  if (option.ends_with('=')) {
    if (!argument.starts_with(option)) return std::nullopt;
    return folderBeginningWith(argument.substr(option.size()), arguments, index + 1, isFolder);
  }
  if (argument != option || index + 1 >= arguments.size()) return std::nullopt;
  return folderBeginningWith(arguments[index + 1], arguments, index + 2, isFolder);
}

bool isTemporary(const std::string& folder, const std::string& home) {
  if (!home.empty() && platform::isPathInside(folder, home)) return false;
  return std::any_of(kTemporaryFolders.begin(), kTemporaryFolders.end(),
                     [&](std::string_view temporary) { return platform::isPathInside(folder, temporary); });
}

bool isAmong(const std::vector<Installation>& installations, const std::string& folder) {
  return std::any_of(installations.begin(), installations.end(), [&](const Installation& installation) {
    return platform::isPathInside(folder, installation.dataFolder);
  });
}

bool isCovered(const StartedWith& started, const std::vector<StartedWith>& known) {
  return std::any_of(known.begin(), known.end(), [&](const StartedWith& other) {
    return other.bundleIdentifier == started.bundleIdentifier && platform::isPathInside(started.folder, other.folder);
  });
}

}  // namespace

std::vector<std::string> foldersNamedIn(const std::vector<std::string>& arguments, const Browser& browser,
                                        const HomeEyes::Test& isFolder) {
  std::vector<std::string> folders;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    for (const std::string_view option : factsOf(browser.family).folderOptions) {
      if (const auto folder = folderBehind(option, arguments, index, isFolder)) folders.push_back(*folder);
    }
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

void rememberFolders(const HomeFolder& home, const Layout& layout, const Browser& browser,
                     const std::vector<platform::Arguments>& processes) {
  if (!layout.followsArguments()) return;
  const std::vector<Installation> installations = layout.installationsOf(browser);
  const auto kind = kindOfStartedWith(browser.family);
  std::vector<StartedWith> known = home.startedWith;
  const std::vector<StartedWith> before = known;
  for (const platform::Arguments& arguments : processes) {
    for (const std::string& folder : foldersNamedIn(arguments, browser, home.eyes.isFolder)) {
      const StartedWith started{std::string(browser.bundleIdentifier), folder};
      if (isOfKind(kind, home, browser.family, folder) && !isAmong(installations, folder) &&
          !isCovered(started, known) && !isTemporary(folder, home.path)) {
        known.push_back(started);
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
