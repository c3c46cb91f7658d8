#include "Platform/Linux/LinuxDirectoryEnumerator.h"

#include <utility>

#include "Platform/Linux/FolderListing.h"
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
  readTop(folder.path());
}

std::optional<FileURL> LinuxDirectoryEnumerator::nextObject() {
  if (pendingFolder_ && !ended_) {
    const auto [path, name] = *std::exchange(pendingFolder_, std::nullopt);
    enter(path, name);
  }
  while (!ended_) {
    Level& level = levels_.back();
    if (level.next < level.entries.size()) {
      const Entry& entry = level.entries[level.next++];
      const std::string path = appendingPathComponent(level.path, entry.name);
      if (entry.isFolder) pendingFolder_ = {path, entry.name};
      return FileURL(path, entry.isFolder);
    }
    levels_.pop_back();
    if (levels_.empty()) {
      ended_ = true;
    } else if (const std::error_code error = stack_->pop()) {
      handle(levels_.back().path, error);
      ended_ = true;  // the way back is lost, whatever the handler says
    }
  }
  return std::nullopt;
}

void LinuxDirectoryEnumerator::enter(const std::string& path, const std::string& name) {
  if (const std::error_code error = stack_->push(name)) {
    handle(path, error);
  } else {
    readTop(path);
  }
}

void LinuxDirectoryEnumerator::readTop(const std::string& path) {
  levels_.push_back({path, {}, 0});
  const int folder = stack_->top();
  const std::error_code error = listFolder(folder, [&](const FolderEntry& entry) {
    levels_.back().entries.push_back({entry.name, isFolder(folder, entry)});
  });
  if (error) handle(path, error);
}

void LinuxDirectoryEnumerator::handle(const std::string& path, std::error_code error) {
  if (errorHandler_ && !errorHandler_(FileURL(path, true), error)) ended_ = true;
}

}  // namespace platform::linux_
