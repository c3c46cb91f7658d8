#include "MainApplication/client/SettingsStore.h"

#include <algorithm>
#include <filesystem>

#include "Platform/FileURL.h"
#include "Platform/Linux/files/LinuxSystem.h"
#include "Platform/Linux/host/RegularFile.h"
#include "Platform/Path.h"
#include "Worker/Identity.h"
#include "Worker/cleaning/History.h"
#include "Worker/cleaning/OwedCleanings.h"
#include "Worker/formats/ProfilesIni.h"
#include "Worker/homes/NeverAsked.h"
#include "Worker/sandbox/Operation.h"

namespace tidewell {
namespace {

using platform::FileURL;
using platform::Value;

constexpr std::string_view kGrantPrefix = "bd_";

/// The path in a grant's key of the worker's settings; absent for any other key.
std::optional<std::string> grantedPath(const std::string& key) {
  if (!key.starts_with(kGrantPrefix)) return std::nullopt;
  const auto url = FileURL::fromString(std::string_view(key).substr(kGrantPrefix.size()));
  return url ? std::optional(url->path()) : std::nullopt;
}

}  // namespace

std::shared_ptr<platform::linux_::DefaultsFile> SettingsStore::shared() const {
  return domains_.fileOfDomain(kSharedSuite);
}

std::shared_ptr<platform::linux_::DefaultsFile> SettingsStore::workers() const {
  return domains_.fileOfDomain(kBundleIdentifier);
}

bool SettingsStore::isEnabled(const Browser& browser) const {
  const auto enabled = shared()->read(kEnabledBrowsersKey);
  const auto* identifiers = enabled ? enabled->as<Value::Array>() : nullptr;
  return identifiers != nullptr &&
         std::find(identifiers->begin(), identifiers->end(), Value(browser.bundleIdentifier)) != identifiers->end();
}

bool SettingsStore::setEnabled(const Browser& browser, bool enabled) {
  const auto before = shared()->read(kEnabledBrowsersKey);
  const auto* array = before ? before->as<Value::Array>() : nullptr;
  Value::Array identifiers = array != nullptr ? *array : Value::Array();
  const Value identifier(browser.bundleIdentifier);
  std::erase(identifiers, identifier);
  if (enabled) identifiers.push_back(identifier);
  return shared()->write(kEnabledBrowsersKey, identifiers) && shared()->checkpoint();
}

bool SettingsStore::flag(const std::string& key) const {
  const auto value = shared()->read(key);
  const bool* on = value ? value->as<bool>() : nullptr;
  return on != nullptr && *on;
}

bool SettingsStore::setFlag(const std::string& key, bool on) {
  return shared()->write(key, on) && shared()->checkpoint();
}

std::optional<std::vector<std::string>> SettingsStore::keptSites() const {
  const auto setting = shared()->readChecked(kKeptSitesKey);
  if (!setting) return std::nullopt;
  if (!*setting) return std::vector<std::string>();
  const auto* array = (*setting)->as<Value::Array>();
  if (array == nullptr) return std::nullopt;
  std::vector<std::string> entries;
  for (const Value& element : *array) {
    const auto* entry = element.as<std::string>();
    if (entry == nullptr) return std::nullopt;
    entries.push_back(*entry);
  }
  return entries;
}

bool SettingsStore::setKeptSites(const std::vector<std::string>& entries) {
  return shared()->write(kKeptSitesKey, Value::Array(entries.begin(), entries.end())) && shared()->checkpoint();
}

Home SettingsStore::home() const {
  platform::linux_::SecurityScopes none;
  const platform::linux_::LinuxSystem system(none);
  const auto isFolder = [](const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
  };
  const auto mayBeThere = [](const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error) ||
           (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory);
  };
  const auto mayBeFolder = [&](const std::string& path) {
    std::error_code ignored;
    return isFolder(path) || (mayBeThere(path) && !std::filesystem::exists(path, ignored));
  };
  const auto mayBeEmpty = [](const std::string& path) {
    std::error_code error;
    return std::filesystem::is_empty(path, error) || error;
  };
  const auto isRegularFile = [](const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(std::filesystem::symlink_status(path, ignored));
  };
  const auto withoutLinks = [](const std::string& path) {
    std::error_code error;
    const std::string place = std::filesystem::weakly_canonical(path, error).string();
    return error ? path : place;
  };
  const auto profilesListedIn = [](const std::string& path) {
    return listedProfiles(platform::linux_::contentsOfRegularFile(path, kLargestProfilesIni).value().value_or(""));
  };
  return Home::of(*domains_.suite(kSharedSuite), system,
                  {isFolder, mayBeFolder, mayBeThere, mayBeEmpty, isRegularFile, profilesListedIn, withoutLinks});
}

std::vector<const Browser*> SettingsStore::knownBrowsers() const {
  const Home current = home();
  std::vector<const Browser*> known;
  for (const Browser& browser : browsers()) {
    if (current.layout->knows(browser)) known.push_back(&browser);
  }
  return known;
}

std::vector<std::string> SettingsStore::grants() const {
  std::vector<std::string> paths;
  for (const auto& [key, value] : workers()->readAll()) {
    if (auto path = grantedPath(key)) paths.push_back(std::move(*path));
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::size_t SettingsStore::revoke(const std::string& folder) {
  std::size_t count = 0;
  for (const auto& [key, value] : workers()->readAll()) {
    const auto path = grantedPath(key);
    if (path && platform::isPathInside(*path, folder) && workers()->erase(key)) ++count;
  }
  workers()->checkpoint();
  return count;
}

bool SettingsStore::isGranted(const std::string& folder) const {
  return isGranted(folder, home());
}

bool SettingsStore::isGranted(const std::string& folder, const Home& home) const {
  const auto isUsed = [&home](const std::string& granted) {
    return home.layout->takesWideGrants() || !isTooWideFor(home.folder.path, granted, home.folder.eyes.withoutLinks);
  };
  const std::vector<std::string> granted = grants();
  return std::any_of(granted.begin(), granted.end(),
                     [&](const std::string& path) { return platform::isPathInside(folder, path) && isUsed(path); });
}

std::vector<std::string> SettingsStore::neverAsked(const Browser& browser) const {
  const auto setting = workers()->read(kNeverAskedKey);
  const auto* array = setting ? setting->as<Value::Array>() : nullptr;
  const std::vector<std::string> never = neverAskedFrom(array != nullptr ? std::optional(*array) : std::nullopt);
  const Home current = home();
  std::vector<std::string> folders = current.layout->foldersNeededBy(browser);
  std::erase_if(folders, [&](const std::string& folder) {
    const std::string place = current.folder.eyes.withoutLinks(folder);
    return isGranted(place, current) || std::find(never.begin(), never.end(), place) == never.end();
  });
  return folders;
}

SettingsStore::Allowed SettingsStore::allowed(const Browser& browser) const {
  const Home current = home();
  const std::vector<std::string> needed = current.layout->foldersNeededBy(browser);
  if (needed.empty()) return Allowed::kNothingThere;
  const auto count = std::count_if(needed.begin(), needed.end(),
                                   [&](const std::string& folder) { return isGranted(folder, current); });
  if (count == 0) return Allowed::kNone;
  return static_cast<std::size_t>(count) == needed.size() ? Allowed::kAll : Allowed::kSome;
}

bool SettingsStore::isOwed(const Browser& browser) const {
  platform::linux_::SecurityScopes none;
  const platform::linux_::LinuxSystem system(none);
  return workers()->read(keyOfOwedCleaning(browser, system.machineIdentifier())).has_value();
}

std::vector<Report> SettingsStore::history() const {
  return History::reportsIn(workers()->read(kHistoryKey));
}

bool SettingsStore::clearHistory() {
  return !workers()->exists() || workers()->erase(kHistoryKey);
}

}  // namespace tidewell
