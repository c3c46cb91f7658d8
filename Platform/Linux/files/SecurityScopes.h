// The grants that are open now, and the way from a path to a descriptor inside one of them.
//
// A scope is a file or folder pinned by a descriptor. As long as the scope's path leads to the pinned item, everything
// below it may be used; when it leads to another item, the scope gives access to nothing. A descriptor for an action is
// always opened relative to the pinned folder, beneath it and over no symbolic link, so that nothing that is swapped in
// meanwhile can lead out.
//
// Any thread.
#pragma once

#include <map>
#include <memory>
#include <shared_mutex>
#include <string>

#include "Platform/Linux/files/BeneathFolder.h"
#include "Platform/Linux/files/BookmarkData.h"
#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Result.h"
#include "Platform/SecurityScopedResources.h"

namespace platform::linux_ {

/// What a scope pins, and what a URL resolved from bookmark data carries as its grant.
class PinnedFile : public SecurityScope {
 public:
  /// Pins the item at a path. Null when there is none, or when the path leads over a symbolic link or to one.
  static std::shared_ptr<const PinnedFile> at(const std::string& path);

  /// Pins what was opened at that path, over no symbolic link. Null for a descriptor of a symbolic link.
  static std::shared_ptr<const PinnedFile> of(const std::string& path, FileDescriptor descriptor);

  const std::string& path() const { return path_; }
  int descriptor() const { return descriptor_.get(); }
  const FileIdentity& identity() const { return identity_; }
  bool isDirectory() const { return isDirectory_; }

  /// Whether the path still leads to the pinned file.
  bool isInPlace() const;

  /// Whether an open descriptor is of the pinned file.
  bool isSameFile(int descriptor) const;

 private:
  std::string path_;
  FileDescriptor descriptor_;
  FileIdentity identity_;
  std::uint64_t device_ = 0;
  bool isDirectory_ = false;
};

/// An item, by its open folder and its name. It need not exist.
struct ItemLocation {
  FileDescriptor folder;
  std::string name;
};

class SecurityScopes : public SecurityScopedResources {
 public:
  // Grants.

  /// Opens what the person chose in a panel, for the life of the process.
  void openForProcess(const FileURL& url);

  std::optional<Data> bookmarkData(const FileURL& url) override;
  ResolvedBookmark resolveBookmarkData(const Data& data) override;
  bool startAccessing(const FileURL& url) override;
  void stopAccessing(const FileURL& url) override;

  // From a path to a descriptor. Paths are as FileManager takes them; failures: operation_not_permitted for what lies
  // inside no open scope, invalid_argument for a path with a NUL byte, cross_device_link for what lies on another mount
  // than its scope where `mounts` is kSame, else what the system says.

  /// For actions on the item itself: the folder is resolved, the item's own name is not. A scope's own folder lies in
  /// no scope unless the folder above it does: a grant covers a folder's contents, and does not allow removing the
  /// folder.
  Result<ItemLocation> locate(const std::string& path, Mounts mounts = Mounts::kAny) const;

  /// For actions on the content: opens the item, through a final symbolic link if that leads into an open scope.
  Result<FileDescriptor> open(const std::string& path, int flags, Mounts mounts = Mounts::kAny) const;

 private:
  struct OpenScope {
    std::shared_ptr<const PinnedFile> file;
    bool forProcess = false;
    /// How often each resolved grant was started and not stopped: a stop only closes a start of its own grant.
    std::map<std::shared_ptr<const PinnedFile>, unsigned> starts;
  };

  std::shared_ptr<const PinnedFile> scopeContaining(const std::string& path) const;
  Result<FileDescriptor> openInScope(const std::string& path, int flags, Mounts mounts) const;

  mutable std::shared_mutex mutex_;
  std::map<std::string, OpenScope, std::less<>> scopes_;  // by path; guarded by mutex_
};

}  // namespace platform::linux_
