#include "Platform/Linux/files/LinuxDirectoryEnumerator.h"

#include <utility>

#include "Platform/Linux/files/FolderListing.h"
#include "Platform/Path.h"

namespace platform::linux_ {

LinuxDirectoryEnumerator::LinuxDirectoryEnumerator(const FileURL& folder, Result<FileDescriptor> root,
                                                   EnumerationErrorHandler errorHandler)
    : errorHandler_(std::move(errorHandler)) {
  if (!root) {
    handle(folder.path(), root.error());
    ended_ = true;
    return;
  }
  stack_.emplace(std::move(*root));
  path_ = folder.path();
  readTop();
}

std::optional<FileURL> LinuxDirectoryEnumerator::nextObject() {
  if (pendingFolder_ && !ended_) {
    enter(*std::exchange(pendingFolder_, std::nullopt));
  }
  while (!ended_) {
    Level& level = levels_.back();
    if (level.next < level.entries.size()) {
      const Entry& entry = level.entries[level.next++];
      if (entry.isFolder) pendingFolder_ = entry.name;
      return FileURL(appendingPathComponent(path_, entry.name), entry.isFolder);
    }
    levels_.pop_back();
    if (levels_.empty()) {
      ended_ = true;
      continue;
    }
    path_.resize(levels_.back().pathLength);
    if (const std::error_code error = stack_->pop()) {
      handle(path_, error);
      ended_ = true;  // the way back is lost, whatever the handler says
    }
  }
  return std::nullopt;
}

void LinuxDirectoryEnumerator::enter(const std::string& name) {
  const std::string path = appendingPathComponent(path_, name);
  if (const std::error_code error = stack_->push(name)) {
    handle(path, error);
  } else {
    path_ = path;
    readTop();
  }
}

void LinuxDirectoryEnumerator::readTop() {
  levels_.push_back({path_.size(), {}, 0});
  const int folder = stack_->top();
  const std::error_code error = listFolder(folder, [&](const FolderEntry& entry) {
    levels_.back().entries.push_back({entry.name, isFolder(folder, entry)});
  });
  if (error) handle(path_, error);
}

void LinuxDirectoryEnumerator::handle(const std::string& path, std::error_code error) {
  if (errorHandler_ && !errorHandler_(FileURL(path, true), error)) ended_ = true;
}

}  // namespace platform::linux_
