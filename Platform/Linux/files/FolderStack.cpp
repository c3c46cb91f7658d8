#include "Platform/Linux/files/FolderStack.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "Platform/Linux/files/BeneathFolder.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr std::size_t kOpenLevels = 32;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

}  // namespace

FolderStack::FolderStack(FileDescriptor folder) {
  levels_.emplace_back();
  levels_.back().folder = std::move(folder);
  identify(levels_.back());  // can't fail on an open descriptor
}

std::error_code FolderStack::identify(Level& level) {
  struct stat status {};
  if (::fstat(level.folder.get(), &status) != 0) return lastError();
  level.device = status.st_dev;
  level.inode = status.st_ino;
  return {};
}

std::error_code FolderStack::push(const std::string& name) {
  Level level;
  Result<FileDescriptor> folder = openBeneath(top(), name, kFolderFlags, Mounts::kSame);
  if (!folder) return folder.error();
  level.folder = std::move(*folder);
  if (const std::error_code error = identify(level)) return error;
  levels_.push_back(std::move(level));
  if (levels_.size() > kOpenLevels + 1) levels_[levels_.size() - 1 - kOpenLevels].folder.reset();
  return {};
}

std::error_code FolderStack::pop() {
  Level left = std::move(levels_.back());
  levels_.pop_back();
  Level& above = levels_.back();
  if (above.folder) return {};
  Level found;
  found.folder.reset(::openat(left.folder.get(), "..", kFolderFlags));
  if (!found.folder) return lastError();
  if (const std::error_code error = identify(found)) return error;
  if (found.device != above.device || found.inode != above.inode) {
    return std::make_error_code(std::errc::no_such_file_or_directory);  // moved elsewhere meanwhile
  }
  above = std::move(found);
  return {};
}

}  // namespace platform::linux_
