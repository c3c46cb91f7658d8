// Asks the person for access to a folder, keeps what was granted, and runs an action under the grant.
//
// One object serves one operation; fileAccess() makes a new one each time. Any thread may use it: a panel, where one is
// needed, runs on the main thread while the calling thread waits. The installed platform must outlive it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/FileURL.h"
#include "Platform/Value.h"

namespace tidewell {

class AppSandboxFileAccess {
 public:
  using Block = std::function<void()>;
  /// Receives the URL under whose grant to act (it may name a folder above the one that was asked for), and the
  /// bookmark data that is stored for it, if any.
  using PermissionBlock = std::function<void(const platform::FileURL& securityScopedURL,
                                             const std::optional<platform::Data>& bookmarkData)>;

  static std::unique_ptr<AppSandboxFileAccess> fileAccess();

  // The panel's texts: localised, unless set. Looked up on demand: most objects never show a panel, and many exist at a
  // time.
  std::string title() const;
  void setTitle(std::string title) { title_ = std::move(title); }
  std::string message() const;
  void setMessage(std::string message) { message_ = std::move(message); }
  std::string prompt() const;
  void setPrompt(std::string prompt) { prompt_ = std::move(prompt); }

  /// Sets what is never granted, whether stored or chosen in the panel: a stored grant of it is passed over with a line
  /// in the log, and choosing it counts as cancelling. By default nothing.
  using Test = std::function<bool(const platform::FileURL& url)>;
  void setIsTooWide(Test isTooWide) { isTooWide_ = std::move(isTooWide); }

  /// Offers "Never" in the panel beside the confirm button and "Not now", which replaces "Cancel". Called on the main
  /// thread when the person chooses it; it counts as cancelling as well. By default it is not offered.
  void offerNever(std::function<void()> never) { never_ = std::move(never); }

  // Below, a missing required argument raises platform::AssertionFailure.

  /// Runs `block` under a grant that covers the path: a stored one, or one that the person gives now in a panel, which
  /// is stored when `persist` is true. Returns whether access was obtained and the block ran. The grant is released
  /// when the block returns or throws.
  bool accessFilePath_persistPermission_withBlock(const std::string& path, bool persist, const Block& block) const;
  bool accessFileURL_persistPermission_withBlock(const std::optional<platform::FileURL>& fileURL, bool persist,
                                                 const Block& block) const;
  bool accessFilePath_withBlock_persistPermission(const std::string& path, const Block& block, bool persist) const;
  bool accessFileURL_withBlock_persistPermission(const std::optional<platform::FileURL>& fileURL, const Block& block,
                                                 bool persist) const;

  /// As above, but leaves it to the block (which may be empty) to open and close the grant.
  bool requestAccessPermissionsForFilePath_persistPermission_withBlock(const std::optional<std::string>& filePath,
                                                                       bool persist,
                                                                       const PermissionBlock& block) const;
  bool requestAccessPermissionsForFileURL_persistPermission_withBlock(const std::optional<platform::FileURL>& fileURL,
                                                                      bool persist, const PermissionBlock& block) const;

  /// Stores a bookmark of the item under its own key, without asking the person. Absent, with nothing stored, when none
  /// can be made: the item is missing or was not granted.
  std::optional<platform::Data> persistPermissionPath(const std::optional<std::string>& path) const;
  std::optional<platform::Data> persistPermissionURL(const std::optional<platform::FileURL>& url) const;

  /// Shows the panel, at the nearest folder that exists. Absent when the person cancelled it.
  std::optional<platform::FileURL> askPermissionForURL(const std::optional<platform::FileURL>& url) const;

 private:
  std::optional<std::string> title_;
  std::optional<std::string> message_;
  std::optional<std::string> prompt_;
  Test isTooWide_;
  std::function<void()> never_;
};

}  // namespace tidewell
