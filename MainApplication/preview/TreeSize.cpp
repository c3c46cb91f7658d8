#include "MainApplication/preview/TreeSize.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <vector>

#include "Platform/Linux/files/FolderListing.h"
#include "Platform/Linux/files/FolderStack.h"

namespace tidewell {
namespace {

namespace linux_ = platform::linux_;

void add(TreeSize& size, int folder, const char* name) {
  struct stat status {};
  ++size.files;
  if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode)) {
    size.bytes += static_cast<std::uint64_t>(status.st_size);
  }
}

/// Adds what lies directly in the folder; returns the names of its subfolders.
std::vector<std::string> addEntries(TreeSize& size, int folder) {
  std::vector<std::string> subfolders;
  linux_::listFolder(folder, [&](const linux_::FolderEntry& entry) {
    linux_::isFolder(folder, entry) ? static_cast<void>(subfolders.emplace_back(entry.name))
                                    : add(size, folder, entry.name);
  });
  return subfolders;
}

}  // namespace

std::optional<TreeSize> sizeOfTree(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  TreeSize size;
  if (!S_ISDIR(status.st_mode)) {
    add(size, AT_FDCWD, path.c_str());
    return size;
  }
  linux_::FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!folder) return size;
  linux_::FolderStack stack(std::move(folder));
  std::vector<std::vector<std::string>> pending = {addEntries(size, stack.top())};  // of each level
  while (true) {
    if (!pending.back().empty()) {
      const std::string name = std::move(pending.back().back());
      pending.back().pop_back();
      if (!stack.push(name)) pending.push_back(addEntries(size, stack.top()));
    } else {
      pending.pop_back();
      if (pending.empty() || stack.pop()) return size;
    }
  }
}

}  // namespace tidewell
