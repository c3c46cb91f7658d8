#include "Worker/sandbox/AppSandboxFileAccess.h"

#include "Platform/Assertion.h"
#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate.h"
#include "Worker/sandbox/AppSandboxFileAccessPersist.h"

namespace tidewell {
namespace {

using platform::assertParameter;
using platform::Data;
using platform::FileURL;
using platform::Platform;

constexpr char kSourceFile[] = "Worker/sandbox/AppSandboxFileAccess";

constexpr char kTooWide[] = "A grant of %@ is too wide, and is not used";

std::string localized(const char* key) {
  return Platform::current().mainBundle.localizedString(key, "");
}

std::string appName() {
  const platform::Bundle& bundle = Platform::current().mainBundle;
  if (const auto displayName = bundle.objectForInfoDictionaryKey("CFBundleDisplayName")) return *displayName;
  return bundle.objectForInfoDictionaryKey("CFBundleName").value_or(std::string(platform::kAbsentObjectText));
}

FileURL fileURLWithPath(const std::string& path) {
  return Platform::current().fileManager.fileURLWithPath(path);
}

/// The folder at which a panel for `url` opens: the nearest that exists, at worst "/".
FileURL nearestExistingFolder(const FileURL& url) {
  std::string path = url.path();
  bool isDirectory = false;
  while (path.size() >= 2 && !Platform::current().fileManager.fileExists(path, isDirectory)) {
    path = platform::deletingLastPathComponent(path);
  }
  return FileURL(path, true);
}

/// Holds a grant open for as long as it lives.
class AccessToSecurityScopedResource {
 public:
  explicit AccessToSecurityScopedResource(const FileURL& url) : url_(url) {
    // A failure is ignored: the action then finds its files refused.
    Platform::current().securityScopedResources.startAccessing(url_);
  }
  ~AccessToSecurityScopedResource() { Platform::current().securityScopedResources.stopAccessing(url_); }
  AccessToSecurityScopedResource(const AccessToSecurityScopedResource&) = delete;
  AccessToSecurityScopedResource& operator=(const AccessToSecurityScopedResource&) = delete;

 private:
  const FileURL url_;
};

}  // namespace

std::unique_ptr<AppSandboxFileAccess> AppSandboxFileAccess::fileAccess() {
  return std::make_unique<AppSandboxFileAccess>();
}

std::string AppSandboxFileAccess::title() const {
  return title_.value_or(localized("Allow Access"));
}

std::string AppSandboxFileAccess::message() const {
  if (message_) return *message_;
  return platform::formatted(localized("%@ needs to access this path to continue. Click Allow to continue."),
                             {appName()});
}

std::string AppSandboxFileAccess::prompt() const {
  return prompt_.value_or(localized("Allow"));
}

std::optional<FileURL> AppSandboxFileAccess::askPermissionForURL(const std::optional<FileURL>& url) const {
  assertParameter(url.has_value(), "url", kSourceFile, 71);
  AppSandboxFileAccessOpenSavePanelDelegate delegate(url);

  platform::OpenPanelSettings panel;
  panel.message = message();
  panel.canCreateDirectories = false;
  panel.canChooseFiles = true;
  panel.canChooseDirectories = true;
  panel.allowsMultipleSelection = false;
  panel.prompt = prompt();
  panel.title = title();
  panel.showsHiddenFiles = false;
  panel.extensionHidden = false;
  panel.directoryURL = nearestExistingFolder(*url);
  panel.target = *url;
  panel.delegate = &delegate;
  panel.isTooWide = isTooWide_;
  panel.offersNever = static_cast<bool>(never_);

  std::optional<FileURL> chosen;
  const auto ask = [&] {
    platform::OpenPanel& openPanel = Platform::current().openPanel;
    openPanel.activateIgnoringOtherApps(true);
    platform::OpenPanelAnswer answer = openPanel.runModal(panel);
    if (answer.response == platform::ModalResponse::ok) chosen = std::move(answer.url);
    if (answer.response == platform::ModalResponse::never && never_) never_();
  };
  platform::Dispatch& dispatch = Platform::current().dispatch;
  if (dispatch.isMainThread()) {
    ask();
  } else {
    dispatch.mainQueue().sync(ask);
  }
  return chosen;
}

std::optional<Data> AppSandboxFileAccess::persistPermissionPath(const std::optional<std::string>& path) const {
  assertParameter(path.has_value(), "path", kSourceFile, 121);
  return persistPermissionURL(fileURLWithPath(*path));
}

std::optional<Data> AppSandboxFileAccess::persistPermissionURL(const std::optional<FileURL>& url) const {
  assertParameter(url.has_value(), "url", kSourceFile, 127);
  std::optional<Data> data = Platform::current().securityScopedResources.bookmarkData(*url);
  if (data) AppSandboxFileAccessPersist::setBookmarkData_forURL(*data, *url);
  return data;
}

bool AppSandboxFileAccess::accessFilePath_persistPermission_withBlock(const std::string& path, bool persist,
                                                                      const Block& block) const {
  return accessFileURL_persistPermission_withBlock(fileURLWithPath(path), persist, block);
}

bool AppSandboxFileAccess::accessFileURL_persistPermission_withBlock(const std::optional<FileURL>& fileURL,
                                                                     bool persist, const Block& block) const {
  assertParameter(fileURL.has_value(), "fileURL", kSourceFile, 152);
  assertParameter(static_cast<bool>(block), "block", kSourceFile, 153);
  return requestAccessPermissionsForFileURL_persistPermission_withBlock(
      fileURL, persist, [&block](const FileURL& securityScopedURL, const std::optional<Data>&) {
        const AccessToSecurityScopedResource access(securityScopedURL);
        block();
      });
}

bool AppSandboxFileAccess::accessFilePath_withBlock_persistPermission(const std::string& path, const Block& block,
                                                                      bool persist) const {
  return accessFilePath_persistPermission_withBlock(path, persist, block);
}

bool AppSandboxFileAccess::accessFileURL_withBlock_persistPermission(const std::optional<FileURL>& fileURL,
                                                                     const Block& block, bool persist) const {
  return accessFileURL_persistPermission_withBlock(fileURL, persist, block);
}

bool AppSandboxFileAccess::requestAccessPermissionsForFilePath_persistPermission_withBlock(
    const std::optional<std::string>& filePath, bool persist, const PermissionBlock& block) const {
  assertParameter(filePath.has_value(), "filePath", kSourceFile, 169);
  return requestAccessPermissionsForFileURL_persistPermission_withBlock(fileURLWithPath(*filePath), persist, block);
}

bool AppSandboxFileAccess::requestAccessPermissionsForFileURL_persistPermission_withBlock(
    const std::optional<FileURL>& fileURL, bool persist, const PermissionBlock& block) const {
  assertParameter(fileURL.has_value(), "fileURL", kSourceFile, 176);
  const platform::FileManager& fileManager = Platform::current().fileManager;
  const FileURL target = fileManager.urlByResolvingSymlinks(fileManager.standardizedURL(*fileURL));

  std::optional<FileURL> allowed;
  std::optional<Data> kept;
  if (const std::optional<Data> stored = AppSandboxFileAccessPersist::bookmarkDataForURL(target)) {
    const platform::ResolvedBookmark bookmark =
        Platform::current().securityScopedResources.resolveBookmarkData(*stored);
    if (bookmark.isStale) {
      // The entry may be stored under the key of a folder above. That one stays: only the target's own key is removed.
      AppSandboxFileAccessPersist::clearBookmarkDataForURL(target);
      if (bookmark.url) kept = persistPermissionURL(bookmark.url);
      if (kept) allowed = bookmark.url;
    } else {
      kept = stored;
      allowed = bookmark.url;
    }
  }

  if (allowed && isTooWide_ && isTooWide_(*allowed)) {
    Platform::current().log.log(platform::formatted(kTooWide, {allowed->path()}));
    allowed.reset();
    kept.reset();
  }

  if (!allowed) {
    allowed = askPermissionForURL(target);
    if (!allowed) return false;
    // Stored data that could not be resolved is still in `kept`. The new choice is then not stored, and the person is
    // asked again the next time.
    if (persist && !kept) kept = persistPermissionURL(allowed);
  }
  if (block) block(*allowed, kept);
  return true;
}

}  // namespace tidewell
