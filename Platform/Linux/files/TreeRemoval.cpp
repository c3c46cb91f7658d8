#include "Platform/Linux/files/TreeRemoval.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "Platform/Linux/files/FolderListing.h"
#include "Platform/Linux/files/FolderStack.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr int kMostRounds = 50;  // through one folder that other programs are writing to

class TreeRemoval {
 public:
  explicit TreeRemoval(FileDescriptor root) : stack_(std::move(root)) { work_.emplace_back(); }

  /// Empties the root folder; returns the first reason why something stayed.
  std::error_code emptyRoot() {
    removeFiles();
    while (true) {
      Folder& folder = work_.back();
      if (!folder.subfolders.empty()) {
        enter();
      } else if (stack_.depth() == 0) {
        if (!hasToGoThroughAgain(folder)) return firstError_;
        removeFiles();
      } else if (!leave()) {
        return firstError_;
      }
    }
  }

 private:
  struct Folder {
    std::string name;
    std::vector<std::string> subfolders;  // still to be removed
    int rounds = 0;
    bool foundAnything = false;  // in the last round
    bool isStuck = false;        // something in it can't be removed
  };

  void note(std::error_code error) {
    if (!firstError_) firstError_ = error;
    work_.back().isStuck = true;
  }

  /// Goes once through the folder on top: removes what is no folder, and lists the subfolders.
  void removeFiles() {
    Folder& folder = work_.back();
    ++folder.rounds;
    folder.foundAnything = false;
    const std::error_code error = listFolder(stack_.top(), [&](const FolderEntry& entry) {
      folder.foundAnything = true;
      if (isFolder(stack_.top(), entry)) {
        folder.subfolders.emplace_back(entry.name);
      } else if (::unlinkat(stack_.top(), entry.name, 0) != 0 && errno != ENOENT) {
        if (errno == EISDIR) {
          folder.subfolders.emplace_back(entry.name);  // replaced by a folder meanwhile
        } else {
          note(lastError());
        }
      }
    });
    if (error) note(error);
  }

  void enter() {
    Folder& folder = work_.back();
    Folder below;
    below.name = std::move(folder.subfolders.back());
    folder.subfolders.pop_back();
    // An empty folder is removed at once; so is what is no folder any more.
    if (::unlinkat(stack_.top(), below.name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) return;
    if (errno == ENOTDIR && ::unlinkat(stack_.top(), below.name.c_str(), 0) == 0) return;
    if (const std::error_code error = stack_.push(below.name)) {
      note(error);
      return;
    }
    work_.push_back(std::move(below));
    removeFiles();
  }

  /// Goes back to the folder above, and removes the one that was left. False when the way back is lost.
  bool leave() {
    const Folder left = std::move(work_.back());
    work_.pop_back();
    if (const std::error_code error = stack_.pop()) {
      note(error);
      return false;
    }
    if (::unlinkat(stack_.top(), left.name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) return true;
    const std::error_code error = lastError();
    const bool isFull = errno == ENOTEMPTY || errno == EEXIST;
    if (!isFull || left.isStuck || left.rounds >= kMostRounds) {
      note(error);
      return true;
    }
    // It was written to meanwhile: once more.
    if (const std::error_code pushed = stack_.push(left.name)) {
      note(pushed);
      return true;
    }
    work_.push_back({left.name, {}, left.rounds, false, false});
    removeFiles();
    return true;
  }

  static bool hasToGoThroughAgain(const Folder& folder) {
    return folder.foundAnything && !folder.isStuck && folder.rounds < kMostRounds;
  }

  FolderStack stack_;
  std::vector<Folder> work_;  // one for each level of the stack
  std::error_code firstError_;
};

}  // namespace

std::error_code removeTree(int parent, const std::string& name) {
  std::error_code error;
  for (int round = 0; round < kMostRounds; ++round) {
    if (::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) return {};
    if (errno != ENOTEMPTY && errno != EEXIST) return error ? error : lastError();
    if (error) return error;
    FileDescriptor root(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!root) return lastError();
    error = TreeRemoval(std::move(root)).emptyRoot();
  }
  return error ? error : std::make_error_code(std::errc::directory_not_empty);
}

}  // namespace platform::linux_
