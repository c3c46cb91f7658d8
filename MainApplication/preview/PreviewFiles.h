// A file manager that changes nothing: it records removals, and hands out copies of databases.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "Platform/Linux/host/FileDescriptor.h"

namespace tidewell {

/// A new folder that is removed with the object; what a program that was ended in the middle has left of others goes
/// when one is made.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }  // "" when it could not be created

 private:
  /// Takes the lock that shows others of this kind that the folder is in use.
  bool hold();

  std::string path_;
  platform::linux_::FileDescriptor folder_;
};

class PreviewFiles : public platform::linux_::LinuxFileManager {
 public:
  PreviewFiles(platform::linux_::SecurityScopes& scopes, std::string scriptsFolder);

  /// The paths that would have been removed, in order, each once; some of them may not exist.
  const std::vector<std::string>& removals() const { return removals_; }

  /// The databases that were opened, each with the path of its copy, which the statements have changed.
  const std::map<std::string, std::string>& copies() const { return copies_; }

  /// The paths that would have been replaced, each with the size in bytes of its replacement.
  const std::map<std::string, std::uint64_t>& replacements() const { return replacements_; }

  /// Always succeeds: the preview is of a run after the browser has quit, even if it runs now.
  platform::Result<std::unique_ptr<platform::FileLock>> lockFile(const std::string&) override {
    return std::make_unique<platform::FileLock>();
  }

  std::error_code createFolder(const std::string& path) override;
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override;
  std::error_code exchangeItems(const std::string& path, const std::string& other) override;
  platform::Result<bool> exchangeUnlessChanged(const std::string& path, const std::string& other,
                                               const platform::FileVersion& read) override;
  platform::Result<bool> moveUnlessChanged(const std::string& path, const std::string& other,
                                           const platform::FileVersion& read) override;
  std::error_code removeItem(const std::string& path) override;
  std::error_code removeOverwrittenItem(const std::string& path, platform::UnflushedFile unflushed) override;
  platform::Erasure eraseItem(const std::string& path, platform::Overwriting overwriting) override;
  std::error_code copyItem(const platform::FileURL& source, const platform::FileURL& destination) override;
  platform::Result<std::unique_ptr<platform::PinnedRegularFile>> pinnedFile(const std::string& path) const override;
  platform::Result<platform::FileURL> applicationScriptsDirectory(bool create) override;

 private:
  bool copy(const std::string& database, const std::string& to) const;
  bool isMade(const std::string& path) const;
  /// Gives the copy of a database its new contents. False when there is no copy.
  bool changeCopy(const std::string& database, const std::string& contents) const;

  TemporaryFolder folder_;
  std::map<std::string, std::uint64_t> made_;         // sizes of what would have been created; 0 for folders
  std::map<std::string, std::string> madeDatabases_;  // contents of those that would have been
  std::map<std::string, std::uint64_t> replacements_;
  std::set<std::string> removed_;
  std::vector<std::string> removals_;
  mutable std::map<std::string, std::string> copies_;
};

}  // namespace tidewell
