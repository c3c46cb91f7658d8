#include "Worker/homes/NeverAsked.h"

#include <algorithm>
#include <memory>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::Value;
using Folders = std::vector<std::string>;

std::unique_ptr<platform::UserDefaults> ownSettings() {
  return platform::Platform::current().userDefaults.standardUserDefaults();
}

Folders neverAsked() {
  return neverAskedFrom(ownSettings()->arrayForKey(kNeverAskedKey));
}

void keep(const Folders& folders) {
  const auto settings = ownSettings();
  if (folders.empty()) {
    settings->removeObjectForKey(kNeverAskedKey);
  } else {
    settings->setObject(Value(Value::Array(folders.begin(), folders.end())), kNeverAskedKey);
  }
  settings->synchronize();  // a failure is ignored: the person is asked once more
}

}  // namespace

Folders neverAskedFrom(const std::optional<Value::Array>& setting) {
  Folders folders;
  for (const Value& entry : setting.value_or(Value::Array())) {
    const auto* folder = entry.as<std::string>();
    if (folder != nullptr && folder->starts_with('/')) folders.push_back(*folder);
  }
  return folders;
}

bool isNeverAskedFor(const std::string& folder) {
  const Folders folders = neverAsked();
  return std::find(folders.begin(), folders.end(), folder) != folders.end();
}

void neverAskAgainFor(const std::string& folder) {
  Folders folders = neverAsked();
  if (std::find(folders.begin(), folders.end(), folder) != folders.end()) return;
  folders.push_back(folder);
  keep(folders);
}

void askAgainForWhatIsGranted() {
  Folders folders = neverAsked();
  if (std::erase_if(folders, GrantedFiles::isGranted) != 0) keep(folders);
}

}  // namespace tidewell
