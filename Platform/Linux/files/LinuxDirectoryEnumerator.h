// The deep walk over an open folder.
#pragma once

#include <string>
#include <vector>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/FolderStack.h"

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
    std::size_t pathLength;  // of path_ at this level: a path for each would take memory with the square of the depth
    std::vector<Entry> entries;
    std::size_t next = 0;
  };

  void readTop();
  void enter(const std::string& name);
  void handle(const std::string& path, std::error_code error);

  const EnumerationErrorHandler errorHandler_;
  std::optional<FolderStack> stack_;
  std::vector<Level> levels_;
  std::string path_;                          // of the folder that is being read
  std::optional<std::string> pendingFolder_;  // name of the folder handed out last
  bool ended_ = false;
};

}  // namespace platform::linux_
