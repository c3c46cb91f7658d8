// Files that are only looked at: removals are written down, and databases are handed out as copies.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Linux/files/LinuxFileManager.h"

namespace tidewell {

/// A folder of one's own that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }  // "" when there is none to be had

 private:
  std::string path_;
};

class PreviewFiles : public platform::linux_::LinuxFileManager {
 public:
  PreviewFiles(platform::linux_::SecurityScopes& scopes, std::string scriptsFolder);

  /// What would have been removed, in order, each once; among it what is not there.
  const std::vector<std::string>& removals() const { return removals_; }

  /// The databases that were asked for, and where the copies lie that statements have worked on.
  const std::map<std::string, std::string>& copies() const { return copies_; }

  /// What would have taken the place of something, and its size in bytes.
  const std::map<std::string, std::uint64_t>& replacements() const { return replacements_; }

  /// A browser that runs now does not run when it has quit.
  platform::Result<std::unique_ptr<platform::FileLock>> lockFile(const std::string&) override {
    return std::make_unique<platform::FileLock>();
  }

  std::error_code createFolder(const std::string& path) override;
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override;
  std::error_code exchangeItems(const std::string& path, const std::string& other) override;
  std::error_code replaceItem(const std::string& path, const std::string& replacement) override;
  std::error_code removeItem(const std::string& path) override;
  std::error_code removeOverwrittenItem(const std::string& path, platform::UnflushedFile unflushed) override;
  std::error_code copyItem(const platform::FileURL& source, const platform::FileURL& destination) override;
  platform::Result<std::unique_ptr<platform::PinnedRegularFile>> pinnedFile(const std::string& path) const override;
  platform::Result<platform::FileURL> applicationScriptsDirectory(bool create) override;

 private:
  bool copy(const std::string& database, const std::string& to) const;

  TemporaryFolder folder_;
  bool isMade(const std::string& path) const;

  std::map<std::string, std::uint64_t> made_;  // sizes of what does not exist in earnest; 0 of folders
  std::map<std::string, std::uint64_t> replacements_;
  std::set<std::string> removed_;
  std::vector<std::string> removals_;
  mutable std::map<std::string, std::string> copies_;
};

}  // namespace tidewell
