// The way from a folder down into its subfolders and back up, by descriptors.
//
// Nothing is ever looked up by a path, so a tree may be deeper than a path can be long, and a folder that is exchanged
// for a link is not entered; nor is a folder on another mount. Only the first folder and the lowest levels keep their
// descriptors: the others are opened again through ".." on the way back, and only if that leads to the very folder it
// came from.
#pragma once

#include <sys/types.h>

#include <deque>
#include <string>
#include <system_error>

#include "Platform/Linux/host/FileDescriptor.h"

namespace platform::linux_ {

class FolderStack {
 public:
  /// Starts with `folder` on top.
  explicit FolderStack(FileDescriptor folder);

  /// How many folders are above the one on top.
  std::size_t depth() const { return levels_.size() - 1; }

  /// The folder on top, open for reading (the first one as it was opened).
  int top() const { return levels_.back().folder.get(); }

  /// The folder with so many above it; -1 while it is not open.
  int at(std::size_t depth) const { return levels_[depth].folder.get(); }

  /// Opens the subfolder `name` of the one on top and puts it on top. Links are not followed;
  /// std::errc::cross_device_link for a folder on another mount.
  std::error_code push(const std::string& name);

  /// Goes back to the folder above. Fails when that can't be found again; the stack is then unusable.
  std::error_code pop();

 private:
  struct Level {
    FileDescriptor folder;
    dev_t device = 0;
    ino_t inode = 0;
  };

  static std::error_code identify(Level& level);

  std::deque<Level> levels_;
};

}  // namespace platform::linux_
