// Files and folders by the Linux system calls, under the open security scopes.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/SecurityScopes.h"
#include "Platform/Linux/files/SharedWork.h"

namespace platform::linux_ {

class LinuxFileManager : public FileManager {
 public:
  /// `scriptsFolder` is the program's Application Scripts folder. With Mounts::kSame, what lies on another mount than
  /// its scope is not reached: std::errc::cross_device_link. The scopes must outlive the object.
  LinuxFileManager(SecurityScopes& scopes, std::string scriptsFolder, Mounts mounts = Mounts::kAny,
                   const Sharing& sharing = Sharing::ofThisMachine());

  /// "$XDG_DATA_HOME/tidewell/Application Scripts/" and the program's identifier.
  static std::string scriptsFolderFromEnvironment(const std::string& bundleIdentifier);

  FileURL fileURLWithPath(const std::string& path) const override;
  FileURL standardizedURL(const FileURL& url) const override;
  FileURL urlByResolvingSymlinks(const FileURL& url) const override;

  bool fileExists(const std::string& path) const override;
  bool fileExists(const std::string& path, bool& isDirectory) const override;
  bool isRegularFile(const std::string& path) const override;
  std::error_code checkResourceIsReachable(const std::string& path) const override;
  bool mayBeEmptyFolder(const std::string& path) const override;

  Result<std::string> stringWithContentsOfFile(const std::string& path) const override;
  Result<std::unique_ptr<ReadableFile>> readableFile(const std::string& path) const override;
  Result<std::vector<std::string>> contentsOfDirectory(const std::string& path) const override;
  Result<Value::Dictionary> attributesOfItem(const std::string& path) const override;
  std::unique_ptr<DirectoryEnumerator> enumeratorAtURL(const FileURL& folder,
                                                       EnumerationErrorHandler errorHandler) const override;

  Erasure removeItem(const std::string& path) override;
  Erasure removeOverwrittenItem(const std::string& path, UnflushedFile unflushed) override;

  Erasure eraseItem(const std::string& path, Overwriting overwriting) override;
  Erasure eraseItems(const std::string& folder, const std::vector<std::string>& names,
                     Overwriting overwriting) override;

  std::error_code createFolder(const std::string& path) override;
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override;
  std::error_code exchangeItems(const std::string& path, const std::string& other) override;
  Result<bool> exchangeUnlessChanged(const std::string& path, const std::string& other,
                                     const FileVersion& read) override;
  Result<bool> moveUnlessChanged(const std::string& path, const std::string& other, const FileVersion& read) override;
  Result<std::unique_ptr<FileLock>> lockFile(const std::string& path) override;
  std::optional<int> lockHolder(const std::string& path) const override;

  std::error_code copyItem(const FileURL& source, const FileURL& destination) override;
  Result<std::unique_ptr<PinnedRegularFile>> pinnedFile(const std::string& path) const override;

  Result<FileURL> applicationScriptsDirectory(bool create) override;

 private:
  SecurityScopes& scopes_;
  const std::string scriptsFolder_;
  const Mounts mounts_;
  const Sharing sharing_;  // of removals
};

}  // namespace platform::linux_
