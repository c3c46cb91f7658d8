// Removes caches: the browsers' own, of pages and of shaders, their lists of sites that demand secure connections, and
// those of two plug-ins.

#include "Platform/FileManager.h"
#include "Platform/Path.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;

// In the order in which they are removed.
constexpr const char* kSafariCaches[] = {"Cache.db", "fsCachedData"};
constexpr const char* kSafariExtras[] = {"~/Library/Cookies/Cookies.plist", "~/Library/Cookies/HSTS.plist",
                                         "~/Library/Caches/CloudKit/com.apple.Safari"};
constexpr const char* kFirefoxProfileCaches[] = {"Cache", "OfflineCache", "startupCache"};
constexpr char kFirefoxSecureSites[] = "SiteSecurityServiceState.txt";
constexpr char kGPUCache[] = "GPUCache";
constexpr const char* kChromeProfileCaches[] = {"Application Cache", kGPUCache, "TransportSecurity"};
constexpr const char* kPluginCaches[] = {"~/Library/Caches/Adobe/Flash Player/AssetCache",
                                         "~/Library/Caches/QuickTime/downloads"};

// The system's temporary folders.
constexpr char kTemporaryRoot[] = "/private/var/folders/";
constexpr int kTemporaryLevels = 4;
constexpr char kMediaCache[] = "MediaCache";

/// Removes Safari's caches from one folder of the fourth level; `name` is its last component.
void clearTemporaryFolder(const std::string& name, const std::string& path) {
  if (name == kMediaCache) Sandbox::remove(path);
  if (name == "com.apple.Safari") Sandbox::remove(appendingPathComponent(path, "ApplicationCache.db"));
  if (name == "com.apple.WebKit.WebContent+com.apple.Safari" || name == "com.apple.WebProcess+com.apple.Safari") {
    Sandbox::remove(appendingPathComponent(path, kMediaCache));
  }
}

void walkTemporaryFolders(const std::string& folder, int level) {
  for (const std::string& name : Sandbox::folderContentsOf(folder)) {
    const std::string path = appendingPathComponent(folder, name);
    if (!isDirectory(path)) continue;
    if (level == kTemporaryLevels) {
      clearTemporaryFolder(name, path);
    } else {
      walkTemporaryFolders(path, level + 1);
    }
  }
}

}  // namespace

void WorkerAppDelegate::removeBrowserCache(const std::string& browserName) {
  if (browserName == kSafari) {
    for (const char* cache : kSafariCaches) {
      Sandbox::remove(appendingPathComponent(browserNamed(kSafari)->library.cacheFolder, cache));
    }
    clearExtraCookieCache();
  } else if (isOfChromeFamily(browserName)) {
    clearChromeCache(browserName);
  } else if (browserName == kFirefox) {
    clearFireFoxCache();
  }
  for (const char* cache : kPluginCaches) Sandbox::remove(cache);
}

void WorkerAppDelegate::clearExtraCookieCache() {
  for (const char* extra : kSafariExtras) Sandbox::remove(extra);
}

void WorkerAppDelegate::clearChromeCache(const std::string& browserName) {
  if (!isOfChromeFamily(browserName)) return;
  const ProfileMap profiles = profileMap(browserName);
  const Place& library = browserNamed(browserName)->library;
  // Opera's is removed twice, since its profile is the data folder itself: the second removal finds nothing.
  if (browserName == kOpera) Sandbox::remove(appendingPathComponent(library.dataFolder, kGPUCache));
  for (const auto& [folder, displayName] : profiles) {
    Sandbox::remove(appendingPathComponent(library.cacheFolder, folder));
    const std::string profile = appendingPathComponent(library.dataFolder, folder);
    for (const char* cache : kChromeProfileCaches) Sandbox::remove(appendingPathComponent(profile, cache));
  }
}

void WorkerAppDelegate::clearFireFoxCache() {
  const Place& library = browserNamed(kFirefox)->library;
  const std::string caches(library.cacheFolder);
  for (const std::string& entry : Sandbox::folderContentsOf(caches)) {
    const std::string profile = appendingPathComponent(caches, entry);
    if (!isDirectory(profile)) continue;
    for (const char* cache : kFirefoxProfileCaches) Sandbox::remove(appendingPathComponent(profile, cache));
  }
  const std::string profiles(library.dataFolder);
  for (const std::string& entry : Sandbox::folderContentsOf(profiles)) {
    // An entry that is no profile has no such file, so nothing is removed.
    Sandbox::remove(appendingPathComponent(appendingPathComponent(profiles, entry), kFirefoxSecureSites));
  }
}

void WorkerAppDelegate::clearExtraCache() {
  clearExtraCache(kTemporaryRoot);
}

void WorkerAppDelegate::clearExtraCache(const std::string& root) {
  walkTemporaryFolders(root, 1);
}

}  // namespace tidewell
