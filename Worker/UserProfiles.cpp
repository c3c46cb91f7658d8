// Finds the profiles of Google Chrome and Chromium in the file "Local State".

#include <nlohmann/json.hpp>

#include "Platform/Path.h"
#include "Worker/Browsers.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using nlohmann::json;

constexpr char kLocalState[] = "Local State";

/// The object member of that name; null when `object` is no object or has no such member.
const json* member(const json* object, const char* name) {
  if (object == nullptr || !object->is_object()) return nullptr;
  const auto found = object->find(name);
  return found != object->end() ? &*found : nullptr;
}

}  // namespace

ProfileMap WorkerAppDelegate::userProfiles(const std::string& browserName) {
  const Browser* browser = browserNamed(browserName == kGoogleChrome ? kGoogleChrome : kChromium);
  const std::string text =
      Sandbox::contentsOf(platform::appendingPathComponent(browser->dataFolder, kLocalState)).value_or("");
  const json localState = json::parse(text, nullptr, /*allow_exceptions=*/false);

  ProfileMap profiles;
  const json* infoCache = member(member(&localState, "profile"), "info_cache");
  if (infoCache == nullptr || !infoCache->is_object()) return profiles;
  for (const auto& [folder, profile] : infoCache->items()) {
    const json* name = member(&profile, "name");
    if (name != nullptr && name->is_string()) profiles[folder] = name->get<std::string>();
  }
  return profiles;
}

ProfileMap WorkerAppDelegate::profileMap(const std::string& browserName) {
  if (browserName == kGoogleChrome || browserName == kChromium) return userProfiles(browserName);
  return {{"", std::string(kOpera)}};
}

std::vector<std::string> WorkerAppDelegate::profileFolders(const std::string& browserName) {
  std::vector<std::string> folders;
  for (const auto& [folder, displayName] : profileMap(browserName)) {
    folders.push_back(platform::appendingPathComponent(browserNamed(browserName)->dataFolder, folder));
  }
  return folders;
}

}  // namespace tidewell
