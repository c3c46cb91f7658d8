// A file manager that changes nothing: it records removals, and hands out copies of databases.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "MainApplication/preview/AnonymousFiles.h"
#include "Platform/Linux/files/LinuxFileManager.h"

namespace tidewell {

class PreviewFiles : public platform::linux_::LinuxFileManager {
 public:
  PreviewFiles(platform::linux_::SecurityScopes& scopes, std::string scriptsFolder);

  /// The paths that would have been removed, in order, each once; some of them may not exist.
  const std::vector<std::string>& removals() const { return removals_; }

  /// The databases that were opened, each with the path of its copy, which the statements have changed. It is one for
  /// SQLite alone (AnonymousFiles.h).
  const std::map<std::string, std::string>& copies() const { return copies_; }

  /// Copies a database, with the latest changes to it, which may still be beside it.
  static bool copy(const std::string& database, const std::string& to);

  /// The paths that would have been replaced, each with the size in bytes of its replacement.
  const std::map<std::string, std::uint64_t>& replacements() const { return replacements_; }

  /// The folders in which files would have been made that stay, each with their size in bytes.
  std::map<std::string, std::uint64_t> refilledFolders() const;

  /// Always succeeds: the preview is of a run after the browser has quit, even if it runs now.
  std::optional<int> lockHolder(const std::string&) const override { return std::nullopt; }
  platform::Result<std::unique_ptr<platform::FileLock>> lockFile(const std::string&) override {
    return std::make_unique<platform::FileLock>();
  }

  /// What would have been created can be read until it would have taken the place of something.
  platform::Result<std::unique_ptr<platform::ReadableFile>> readableFile(const std::string& path) const override;

  std::error_code createFolder(const std::string& path) override;
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override;
  std::error_code exchangeItems(const std::string& path, const std::string& other) override;
  platform::Result<bool> exchangeUnlessChanged(const std::string& path, const std::string& other,
                                               const platform::FileVersion& read) override;
  platform::Result<bool> moveUnlessChanged(const std::string& path, const std::string& other,
                                           const platform::FileVersion& read) override;
  platform::Erasure removeItem(const std::string& path) override;
  platform::Erasure removeOverwrittenItem(const std::string& path, platform::UnflushedFile unflushed) override;
  platform::Erasure eraseItem(const std::string& path, platform::Overwriting overwriting) override;
  platform::Erasure eraseItems(const std::string& folder, const std::vector<std::string>& names,
                               platform::Overwriting overwriting) override;
  std::error_code copyItem(const platform::FileURL& source, const platform::FileURL& destination) override;
  platform::Result<std::unique_ptr<platform::PinnedRegularFile>> pinnedFile(const std::string& path) const override;
  platform::Result<platform::FileURL> applicationScriptsDirectory(bool create) override;

 private:
  bool isMade(const std::string& path) const;
  /// Gives the copy of a database its new contents. False when there is no copy.
  bool changeCopy(const std::string& database, const std::string& contents) const;

  AnonymousFiles anonymous_;
  std::map<std::string, std::uint64_t> made_;  // sizes of what would have been created; 0 for folders
  std::map<std::string, std::shared_ptr<const std::string>> contents_;  // of such files, while they are of use
  std::map<std::string, std::uint64_t> replacements_;
  std::set<std::string> removed_;
  std::vector<std::string> removals_;
  mutable std::map<std::string, std::string> copies_;
};

}  // namespace tidewell
