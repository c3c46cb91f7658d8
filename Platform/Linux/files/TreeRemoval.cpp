#include "Platform/Linux/files/TreeRemoval.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <iterator>
#include <memory>
#include <span>
#include <string_view>

#include "Platform/Linux/files/FileErasure.h"
#include "Platform/Linux/files/FolderListing.h"
#include "Platform/Linux/files/FolderStack.h"
#include "Platform/Linux/host/LastError.h"

namespace platform::linux_ {
namespace {

constexpr int kMostRounds = 50;              // through one folder that other programs are writing to
constexpr std::size_t kListedAtOnce = 1024;  // names that are in memory while files are removed

// Between two looks whether the other thread wants some.
constexpr std::size_t kRemovedAtOnce = 64;
constexpr std::size_t kOverwrittenAtOnce = 32;

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

/// Takes the second half of the names, so that the first is left.
std::vector<std::string> takeHalf(std::vector<std::string>& names, std::size_t from) {
  const auto middle = names.begin() + static_cast<std::ptrdiff_t>(from + (names.size() - from) / 2);
  std::vector<std::string> half(std::make_move_iterator(middle), std::make_move_iterator(names.end()));
  names.erase(middle, names.end());
  return half;
}

/// What each of the two threads works with.
struct Hands {
  FileErasure files;
  Erasure erasure = {};
};

struct Workshop {
  Workshop(Overwriting overwriting, const Sharing& sharing)
      : hands{Hands{FileErasure(overwriting)}, Hands{FileErasure(overwriting)}},
        filesAtOnce(overwriting == Overwriting::kNone ? kRemovedAtOnce : kOverwrittenAtOnce),
        work(sharing.isAllowed, overwriting == Overwriting::kNone ? sharing.itemsToRemove : sharing.itemsToOverwrite) {}

  /// What has been done by both.
  Erasure sum() const {
    Erasure sum;
    for (const Hands& hand : hands) {
      const Erasure& one = hand.erasure;
      sum.removed += one.removed;
      sum.removedBytes += hand.files.freedBytes();
      sum.notOverwritten += one.notOverwritten;
      sum.onOtherMounts += one.onOtherMounts;
      sum.failed += one.failed;
      if (!sum.error) sum.error = one.error;
    }
    return sum;
  }

  Hands hands[SharedWork::kWorkers];
  const std::size_t filesAtOnce;
  SharedWork work;  // ends its thread before the hands go
};

/// Names in one folder, and whose they are.
struct Names {
  std::vector<std::string> items = {};    // that may be folders
  std::vector<std::string> folders = {};  // that were folders when they were looked at
  bool areListed = false;                 // by a removal of the folder that they are in
};

/// The removal of items of one folder by one of the threads.
class TreeRemoval {
 public:
  TreeRemoval(FileDescriptor folder, Workshop& workshop, SharedWork::Worker worker)
      : stack_(std::move(folder)),
        workshop_(workshop),
        worker_(worker),
        files_(workshop.hands[worker].files),
        erasure_(workshop.hands[worker].erasure) {
    levels_.emplace_back();
  }
  ~TreeRemoval() {
    for (Level& level : levels_) takeBack(level);  // the way back was lost: parts of the levels above may be under way
  }
  TreeRemoval(const TreeRemoval&) = delete;
  TreeRemoval& operator=(const TreeRemoval&) = delete;

  /// False when something has to stay.
  bool remove(Names names) {
    areListed_ = names.areListed;
    levels_.back().subfolders = std::move(names.folders);
    removeFiles(names.items);
    while (true) {
      Level& level = levels_.back();
      if (!level.subfolders.empty()) {
        enter();
      } else if (stack_.depth() == 0) {
        takeBack(level);
        return !level.isStuck;
      } else if (!leave()) {
        return false;
      }
    }
  }

 private:
  /// Names that the other thread may remove.
  struct Given {
    FileDescriptor folder = {};
    Names names = {};
    bool isStuck = false;
  };

  struct Level {
    std::string name;
    std::vector<std::string> subfolders;  // still to be removed
    int rounds = 0;
    bool isStuck = false;  // something in it can't be removed
    SharedWork::Parts parts;
    std::vector<std::unique_ptr<Given>> given;
  };

  void note(std::error_code error) { note(outcomeOf(error), error); }

  void note(FileErasure::Outcome outcome, std::error_code error) {
    countLeft(erasure_, outcome, error);
    levels_.back().isStuck = true;
  }

  /// Goes once through the folder on top: removes what is no folder, and lists the subfolders.
  void goThrough() {
    Level& level = levels_.back();
    ++level.rounds;
    std::vector<std::string> names;
    const auto removeListed = [&] {
      workshop_.work.find(names.size());
      removeFiles(names);
      names.clear();
    };
    const std::error_code error = listFolder(stack_.top(), [&](const FolderEntry& entry) {
      (isFolder(stack_.top(), entry) ? level.subfolders : names).emplace_back(entry.name);
      if (names.size() == kListedAtOnce) removeListed();
    });
    removeListed();
    workshop_.work.find(level.subfolders.size());
    if (error) note(error);
  }

  void removeFiles(std::vector<std::string>& names) {
    for (std::size_t at = 0; at < names.size();) {
      // Folders first: two threads in one folder wait for each other, since the kernel locks it for each name.
      if (workshop_.work.isWanted() && !giveFolders() && names.size() - at > workshop_.filesAtOnce) {
        give(stack_.depth(), {.items = takeHalf(names, at)});
      }
      const std::size_t end = std::min(names.size(), at + workshop_.filesAtOnce);
      files_.erase(stack_.top(), std::span(names).subspan(at, end - at),
                   [this](const std::string& name, FileErasure::Outcome outcome) { count(name, outcome); });
      at = end;
    }
  }

  void count(const std::string& name, FileErasure::Outcome outcome) {
    using enum FileErasure::Outcome;
    if (outcome == kRemoved) {
      ++erasure_.removed;
    } else if (outcome == kIsFolder) {
      levels_.back().subfolders.push_back(name);
    } else if (outcome != kGone) {
      note(outcome, files_.error());
    }
  }

  void enter() {
    if (workshop_.work.isWanted()) giveFolders();
    Level& level = levels_.back();
    Level below;
    below.name = std::move(level.subfolders.back());
    level.subfolders.pop_back();
    // An empty folder is removed at once; so is what is no folder any more.
    if (::unlinkat(stack_.top(), below.name.c_str(), AT_REMOVEDIR) == 0) {
      ++erasure_.removed;
      return;
    }
    if (errno == ENOENT) return;
    if (errno == ENOTDIR) return count(below.name, files_.erase(stack_.top(), below.name));
    // One that could never go itself is emptied only as a part of a folder that goes.
    const bool isFull = errno == ENOTEMPTY || errno == EEXIST;
    if (!isFull && !areListed_ && stack_.depth() == 0) return note(lastError());
    if (const std::error_code error = stack_.push(below.name)) return note(error);
    levels_.push_back(std::move(below));
    goThrough();
  }

  /// Goes back to the folder above, and removes the one that was left. False when the way back is lost.
  bool leave() {
    takeBack(levels_.back());
    const Level left = std::move(levels_.back());
    levels_.pop_back();
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
      levels_.back().isStuck = true;  // what stays in it was counted
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
    Level& again = levels_.emplace_back();
    again.name = left.name;
    again.rounds = left.rounds;
    goThrough();
    return true;
  }

  /// Gives away half of the subfolders of the highest level that has several: the largest part there is. False when
  /// there is none.
  bool giveFolders() {
    for (std::size_t depth = 0; depth < levels_.size(); ++depth) {
      Level& level = levels_[depth];
      if (level.subfolders.size() < 2 || stack_.at(depth) < 0) continue;
      give(depth, {.folders = takeHalf(level.subfolders, 0)});
      return true;
    }
    return false;
  }

  /// Names of the folder at that depth. What can't be given is put back.
  void give(std::size_t depth, Names names) {
    Level& level = levels_[depth];
    auto given = std::make_unique<Given>();
    // A descriptor of its own: that of this thread may be closed, and its number be another folder's, meanwhile.
    given->folder.reset(::fcntl(stack_.at(depth), F_DUPFD_CLOEXEC, 0));
    if (!given->folder) {
      for (auto* kind : {&names.items, &names.folders}) {
        level.subfolders.insert(level.subfolders.end(), kind->begin(), kind->end());
      }
      return;
    }
    given->names = std::move(names);
    given->names.areListed = areListed_ || depth > 0;
    workshop_.work.give(level.parts, [&workshop = workshop_, part = given.get()](SharedWork::Worker worker) {
      part->isStuck = !TreeRemoval(std::move(part->folder), workshop, worker).remove(std::move(part->names));
    });
    level.given.push_back(std::move(given));
  }

  /// Waits for what was given away of that level.
  void takeBack(Level& level) {
    if (level.given.empty()) return;
    workshop_.work.waitFor(level.parts, worker_);
    for (const auto& given : level.given) level.isStuck = level.isStuck || given->isStuck;
    level.given.clear();
  }

  FolderStack stack_;
  Workshop& workshop_;
  const SharedWork::Worker worker_;
  FileErasure& files_;
  Erasure& erasure_;
  bool areListed_ = false;    // the names of the first level: by a removal of the folder that they are in
  std::deque<Level> levels_;  // one for each level of the stack; they don't move
};

bool isName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

Erasure removeNames(FileDescriptor folder, Names names, Overwriting overwriting, const Sharing& sharing) {
  Workshop workshop(overwriting, sharing);
  workshop.work.find(names.items.size() + names.folders.size());
  TreeRemoval(std::move(folder), workshop, SharedWork::kCaller).remove(std::move(names));
  return workshop.sum();
}

}  // namespace

Erasure removeItems(FileDescriptor folder, std::vector<std::string> names, Overwriting overwriting,
                    const Sharing& sharing) {
  const auto refused = std::erase_if(names, [](const std::string& name) { return !isName(name); });
  Erasure erasure = removeNames(std::move(folder), {.items = std::move(names)}, overwriting, sharing);
  for (std::size_t count = 0; count < refused; ++count) {
    countLeft(erasure, FileErasure::Outcome::kFailed, std::make_error_code(std::errc::invalid_argument));
  }
  return erasure;
}

Erasure notErased(std::error_code error) {
  Erasure erasure;
  erasure.failed = 1;
  erasure.error = error;
  return erasure;
}

Erasure notReached(std::error_code error) {
  Erasure erasure;
  if (error == std::errc::no_such_file_or_directory) return erasure;
  ++(error == std::errc::cross_device_link ? erasure.onOtherMounts : erasure.failed);
  erasure.error = error;
  return erasure;
}

Erasure removeAt(FileDescriptor folder, const std::string& name, const Sharing& sharing) {
  FileErasure files(Overwriting::kNone);
  Erasure erasure;
  switch (files.erase(folder.get(), name)) {
    case FileErasure::Outcome::kRemoved:
      erasure.removed = 1;
      break;
    case FileErasure::Outcome::kIsFolder:
      return removeNames(std::move(folder), {.folders = {name}}, Overwriting::kNone, sharing);
    case FileErasure::Outcome::kGone:
      return notErased(std::make_error_code(std::errc::no_such_file_or_directory));
    default:
      return notErased(files.error());
  }
  erasure.removedBytes = files.freedBytes();
  return erasure;
}

}  // namespace platform::linux_
