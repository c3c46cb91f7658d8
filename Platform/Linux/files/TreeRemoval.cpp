#include "Platform/Linux/files/TreeRemoval.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "Platform/Linux/files/BeneathFolder.h"
#include "Platform/Linux/files/FolderListing.h"
#include "Platform/Linux/files/FolderStack.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK;
constexpr int kMostRounds = 50;  // through one folder that other programs are writing to

/// Counts an item that stays.
void countLeft(Erasure& erasure, FileErasure::Outcome outcome, std::error_code error) {
  using enum FileErasure::Outcome;
  if (!erasure.error) erasure.error = error;
  ++(outcome == kNotOverwritten ? erasure.notOverwritten
     : outcome == kOnOtherMount ? erasure.onOtherMounts
                                : erasure.failed);
}

FileErasure::Outcome outcomeOf(std::error_code error) {
  const bool isMounted = error == std::errc::cross_device_link || error == std::errc::device_or_resource_busy;
  return isMounted ? FileErasure::Outcome::kOnOtherMount : FileErasure::Outcome::kFailed;
}

class TreeRemoval {
 public:
  TreeRemoval(FileDescriptor root, FileErasure& files, Erasure& erasure)
      : stack_(std::move(root)), files_(files), erasure_(erasure) {
    work_.emplace_back();
  }

  /// Empties the root folder. False when something in it has to stay.
  bool emptyRoot() {
    removeFiles();
    while (true) {
      Folder& folder = work_.back();
      if (!folder.subfolders.empty()) {
        enter();
      } else if (stack_.depth() == 0) {
        if (!hasToGoThroughAgain(folder)) return !folder.isStuck;
        removeFiles();
      } else if (!leave()) {
        return false;
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

  void note(std::error_code error) { note(outcomeOf(error), error); }

  void note(FileErasure::Outcome outcome, std::error_code error) {
    countLeft(erasure_, outcome, error);
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
      } else {
        removeFile(entry.name);
      }
    });
    if (error) note(error);
  }

  void removeFile(const std::string& name) {
    using enum FileErasure::Outcome;
    const FileErasure::Outcome outcome = files_.erase(stack_.top(), name);
    if (outcome == kRemoved) {
      ++erasure_.removed;
    } else if (outcome == kIsFolder) {
      work_.back().subfolders.push_back(name);  // replaced by a folder meanwhile
    } else if (outcome != kGone) {
      note(outcome, files_.error());
    }
  }

  void enter() {
    Folder& folder = work_.back();
    Folder below;
    below.name = std::move(folder.subfolders.back());
    folder.subfolders.pop_back();
    // An empty folder is removed at once; so is what is no folder any more.
    if (::unlinkat(stack_.top(), below.name.c_str(), AT_REMOVEDIR) == 0) {
      ++erasure_.removed;
      return;
    }
    if (errno == ENOENT) return;
    if (errno == ENOTDIR) return removeFile(below.name);
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
    if (::unlinkat(stack_.top(), left.name.c_str(), AT_REMOVEDIR) == 0) {
      ++erasure_.removed;
      return true;
    }
    if (errno == ENOENT) return true;
    const std::error_code error = lastError();
    const bool isFull = errno == ENOTEMPTY || errno == EEXIST;
    if (isFull && left.isStuck) {
      work_.back().isStuck = true;  // what stays in it was counted
      return true;
    }
    if (!isFull || left.rounds >= kMostRounds) {
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
  FileErasure& files_;
  Erasure& erasure_;
  std::vector<Folder> work_;  // one for each level of the stack
};

}  // namespace

void removeTree(int parent, const std::string& name, FileErasure& files, Erasure& erasure) {
  for (int round = 0; round < kMostRounds; ++round) {
    if (::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) {
      ++erasure.removed;
      return;
    }
    const std::error_code error = lastError();
    if (error == std::errc::no_such_file_or_directory) return;
    if (errno != ENOTEMPTY && errno != EEXIST) return countLeft(erasure, outcomeOf(error), error);
    Result<FileDescriptor> root = openBeneath(parent, name, kFolderFlags, Mounts::kSame);
    if (!root) return countLeft(erasure, outcomeOf(root.error()), root.error());
    if (!TreeRemoval(std::move(*root), files, erasure).emptyRoot()) return;
  }
  const auto error = std::make_error_code(std::errc::directory_not_empty);
  countLeft(erasure, FileErasure::Outcome::kFailed, error);
}

void removeItem(int parent, const std::string& name, FileErasure& files, Erasure& erasure) {
  using enum FileErasure::Outcome;
  switch (const FileErasure::Outcome outcome = files.erase(parent, name)) {
    case kRemoved:
      ++erasure.removed;
      break;
    case kGone:
      break;
    case kIsFolder:
      removeTree(parent, name, files, erasure);
      break;
    default:
      countLeft(erasure, outcome, files.error());
  }
}

Erasure notErased(std::error_code error) {
  Erasure erasure;
  erasure.failed = 1;
  erasure.error = error;
  return erasure;
}

Erasure removeAt(int parent, const std::string& name) {
  FileErasure files(Overwriting::kNone);
  Erasure erasure;
  switch (files.erase(parent, name)) {
    case FileErasure::Outcome::kRemoved:
      erasure.removed = 1;
      break;
    case FileErasure::Outcome::kIsFolder:
      removeTree(parent, name, files, erasure);
      break;
    case FileErasure::Outcome::kGone:
      return notErased(std::make_error_code(std::errc::no_such_file_or_directory));
    default:
      return notErased(files.error());
  }
  erasure.removedBytes = files.freedBytes();
  return erasure;
}

}  // namespace platform::linux_
