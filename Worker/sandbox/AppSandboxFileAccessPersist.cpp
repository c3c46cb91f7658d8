#include "Worker/sandbox/AppSandboxFileAccessPersist.h"

#include "Platform/Format.h"
#include "Platform/Platform.h"

namespace tidewell {

using platform::Data;
using platform::FileURL;

std::string AppSandboxFileAccessPersist::keyForBookmarkDataForURL(const FileURL& url) {
  return platform::formatted("bd_%1$@", {url.absoluteString()});
}

std::optional<Data> AppSandboxFileAccessPersist::bookmarkDataForURL(const FileURL& url) {
  const auto defaults = platform::Platform::current().userDefaults.standardUserDefaults();
  for (FileURL current = url; current.path().size() >= 2; current = current.deletingLastPathComponent()) {
    if (auto data = defaults->dataForKey(keyForBookmarkDataForURL(current))) return data;
  }
  return std::nullopt;
}

void AppSandboxFileAccessPersist::setBookmarkData_forURL(const Data& data, const FileURL& url) {
  platform::Platform::current().userDefaults.standardUserDefaults()->setObject(data, keyForBookmarkDataForURL(url));
}

void AppSandboxFileAccessPersist::clearBookmarkDataForURL(const FileURL& url) {
  platform::Platform::current().userDefaults.standardUserDefaults()->removeObjectForKey(keyForBookmarkDataForURL(url));
}

}  // namespace tidewell
