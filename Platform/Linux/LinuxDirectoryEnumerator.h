// The deep walk over an open folder.
#pragma once

#include <string>
#include <vector>

#include "Platform/FileManager.h"
#include "Platform/Linux/FolderStack.h"

namespace platform::linux_ {

class LinuxDirectoryEnumerator : public DirectoryEnumerator {
 public:
  /// `root` is the folder's descriptor, or why there is none: the walk then has one error and no items.
  LinuxDirectoryEnumerator(const FileURL& folder, Result<FileDescriptor> root, EnumerationErrorHandler errorHandler);

  std::optional<FileURL> nextObject() override;

 private:
  struct Entry {
    std::string name;
    bool isFolder;
  };
  struct Level {
    std::string path;
    std::vector<Entry> entries;
    std::size_t next = 0;
  };

  void readTop(const std::string& path);
  void enter(const std::string& path, const std::string& name);
  void handle(const std::string& path, std::error_code error);

  const EnumerationErrorHandler errorHandler_;
  std::optional<FolderStack> stack_;
  std::vector<Level> levels_;
  std::optional<std::pair<std::string, std::string>> pendingFolder_;  // path and name of the folder handed out last
  bool ended_ = false;
};

}  // namespace platform::linux_
