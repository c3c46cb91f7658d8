// Other processes exchange names in a granted folder for links, folders, mounts and hard links to files outside, at
// full speed, while it is emptied: nothing outside is changed, and nothing there loses its name.
//
// TIDEWELL_SWAPS sets the number of removals.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "Platform/Linux/files/BeneathFolder.h"
#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/OwnMounts.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Erasure;
using platform::FileURL;
using platform::Overwriting;
using platform::linux_::FileDescriptor;
using platform::linux_::LinuxFileManager;
using platform::linux_::Mounts;
using platform::linux_::openBeneath;
using platform::linux_::SecurityScopes;
using platform::linux_::Sharing;
using testing_support::ScratchFolder;
using testing_support::swapItems;

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
constexpr int kLevels = 40;  // more than the removal keeps open
constexpr int kRoundsPerDeepFolder = 3;

int rounds() {
  const char* wanted = std::getenv("TIDEWELL_SWAPS");
  return wanted != nullptr ? std::atoi(wanted) : 100;
}

struct Attack {
  const char* name;
  std::function<bool()> attempt;  // false when there was nothing to exchange
};

/// A process that makes these attacks in turn, without pause, while the object lives.
class Attacker {
 public:
  explicit Attacker(std::vector<Attack> attacks)
      : attacks_(std::move(attacks)),
        size_(attacks_.size() * sizeof(Count)),
        counts_(static_cast<Count*>(::mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
        before_(attacks_.size()),
        met_(attacks_.size()),
        process_(::fork()) {
    if (process_ == 0) attackWithoutEnd();
  }
  ~Attacker() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    ::munmap(counts_, size_);
  }
  Attacker(const Attacker&) = delete;
  Attacker& operator=(const Attacker&) = delete;

  void removalBegins() { before_.assign(counts_, counts_ + attacks_.size()); }
  void removalEnds() {
    for (std::size_t attack = 0; attack < attacks_.size(); ++attack) met_[attack] += counts_[attack] != before_[attack];
  }

  /// During how many removals each attack was made.
  std::string report() const {
    std::string text;
    for (std::size_t attack = 0; attack < attacks_.size(); ++attack) {
      text += std::string(attack > 0 ? ", " : "") + attacks_[attack].name + " during " + std::to_string(met_[attack]);
    }
    return text;
  }

 private:
  using Count = std::atomic<std::uint64_t>;

  [[noreturn]] void attackWithoutEnd() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) {
      for (std::size_t attack = 0; attack < attacks_.size(); ++attack) {
        if (attacks_[attack].attempt()) ++counts_[attack];
      }
    }
  }

  const std::vector<Attack> attacks_;
  const std::size_t size_;
  Count* const counts_;  // one for each attack, in memory that both processes share
  std::vector<std::uint64_t> before_;
  std::vector<int> met_;
  const pid_t process_;
};

/// Writes a new file; what has the name already is left alone.
void makeFile(int folder, const char* name) {
  const FileDescriptor file(::openat(folder, name, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
  static const std::string bytes(3000, 'x');
  if (file && ::write(file.get(), bytes.data(), bytes.size()) < 0) ADD_FAILURE() << "can't fill " << name;
}

/// Makes a folder and opens it, but not one outside that has taken its place.
FileDescriptor makeFolder(int parent, const char* name) {
  ::mkdirat(parent, name, 0700);
  auto folder = openBeneath(parent, name, kFolderFlags, Mounts::kSame);
  return folder ? std::move(*folder) : FileDescriptor();
}

/// A file that must stay as it is.
class OutsideFile {
 public:
  explicit OutsideFile(std::string path) : path_(std::move(path)), before_(status()) {}

  bool isUnchanged() const {
    const struct stat now = status();
    return now.st_ino == before_.st_ino && now.st_size == before_.st_size &&
           now.st_mtim.tv_sec == before_.st_mtim.tv_sec && now.st_mtim.tv_nsec == before_.st_mtim.tv_nsec;
  }
  const std::string& path() const { return path_; }

 private:
  struct stat status() const {
    struct stat found {};
    ::lstat(path_.c_str(), &found);
    return found;
  }

  std::string path_;
  struct stat before_;
};

struct Way {
  const char* name;
  Overwriting overwriting;
  Sharing sharing = {};
};

void PrintTo(const Way& way, std::ostream* out) {
  *out << way.name;
}

class SwappedNames : public ::testing::TestWithParam<Way> {
 protected:
  SwappedNames() { granted.folder("Cache"); }

  std::string cached(const std::string& below) const { return granted.path("Cache/" + below); }
  std::string outside(const std::string& below) const { return elsewhere.path(below); }

  void fillStore(int round) const {
    const FileDescriptor cache(::open(granted.path("Cache").c_str(), kFolderFlags | O_CLOEXEC));
    const FileDescriptor store = makeFolder(cache.get(), "store");
    if (!store) return;
    makeFile(store.get(), "file");
    makeFile(store.get(), "shared");
    for (const char* name : {"folder", "mounted"}) {
      if (const FileDescriptor folder = makeFolder(store.get(), name)) makeFile(folder.get(), "inner");
    }
    if (round % kRoundsPerDeepFolder == 0) fillDeepFolder(store.get());
  }

  static void fillDeepFolder(int store) {
    FileDescriptor folder = makeFolder(store, "d");
    for (int level = 1; level < kLevels && folder; ++level) folder = makeFolder(folder.get(), "d");
    if (folder) makeFile(folder.get(), "inner");
  }

  bool exchangeLinks() const {
    ::symlink(thesis.path().c_str(), cached("link").c_str());
    ::symlink(outside("documents").c_str(), cached("link to folder").c_str());
    const bool isSwapped = swapItems(cached("store/file"), cached("link"));
    return static_cast<int>(isSwapped) + static_cast<int>(swapItems(cached("store/folder"), cached("link to folder"))) >
           0;
  }

  bool exchangeFolders() const {
    ::symlink(outside("documents").c_str(), cached("other store").c_str());
    ::mkdir(cached("spare").c_str(), 0700);
    const bool isSwapped = swapItems(cached("store"), cached("other store"));
    swapItems(cached("store"), cached("other store"));
    return swapItems(cached("store/folder"), cached("spare")) || isSwapped;
  }

  /// Moves a folder from the store to the documents, so that ".." in it leads to these; the next time back.
  bool moveFoldersOut() const {
    const std::string moved = outside("documents/moved");
    return ::rename(moved.c_str(), cached("store/d/d/d").c_str()) == 0 ||
           ::rename(moved.c_str(), cached("store/returned").c_str()) == 0 ||
           ::rename(cached("store/d/d/d").c_str(), moved.c_str()) == 0;
  }

  bool exchangeHardLinks() const {
    ::link(thesis.path().c_str(), cached("hard link").c_str());
    return swapItems(cached("store/shared"), cached("hard link"));
  }

  /// Mounts what lies outside; the next time takes it off.
  bool exchangeMounts() const {
    const std::string folder = cached("store/mounted");
    const std::string file = cached("store/file");
    bool isExchanged = false;
    while (::umount2(folder.c_str(), MNT_DETACH) == 0) isExchanged = true;
    while (::umount2(file.c_str(), MNT_DETACH) == 0) isExchanged = true;
    if (isExchanged) return true;
    isExchanged = testing_support::bindMount(outside("documents"), folder);
    return testing_support::bindMount(thesis.path(), file) || isExchanged;
  }

  /// Fills and removes the store again and again; prints how many removals names were swapped in meanwhile.
  void removeStoreAmongSwaps(const Way& way) const {
    testing_support::SystemCalls calls;
    calls.skipsFlushes = true;
    SecurityScopes scopes;
    scopes.openForProcess(FileURL(granted.path(), true));
    LinuxFileManager files(scopes, granted.path("scripts"), Mounts::kAny, way.sharing);
    Attacker attacker({{"links", [this] { return exchangeLinks(); }},
                       {"folders", [this] { return exchangeFolders(); }},
                       {"folders moved out", [this] { return moveFoldersOut(); }},
                       {"hard links", [this] { return exchangeHardLinks(); }},
                       {"mounts", [this] { return exchangeMounts(); }}});
    std::uint64_t removed = 0;
    int left = 0;
    for (int round = 0; round < rounds(); ++round) {
      fillStore(round);
      attacker.removalBegins();
      const Erasure erasure = files.eraseItem(cached("store"), way.overwriting);
      attacker.removalEnds();
      removed += erasure.removed;
      left += erasure.leftNothing() ? 0 : 1;
      for (const OutsideFile* file : {&thesis, &letter, &inner, &note}) {
        ASSERT_TRUE(file->isUnchanged()) << file->path() << " in removal " << round;
      }
    }
    EXPECT_GT(removed, 0U);
    std::cout << rounds() << " removals took " << removed << " items, and " << left
              << " left some; exchanged: " << attacker.report() << std::endl;
  }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  const OutsideFile thesis{elsewhere.file("thesis", std::string(3000, 't'))};
  const OutsideFile letter{elsewhere.file("documents/letter", std::string(3000, 'l'))};
  const OutsideFile inner{elsewhere.file("documents/inner", std::string(3000, 'i'))};
  const OutsideFile note{elsewhere.file("documents/d/note", std::string(3000, 'n'))};
};

constexpr Sharing kShared{.isAllowed = true, .itemsToRemove = 1, .itemsToOverwrite = 1};

INSTANTIATE_TEST_SUITE_P(InEveryWay, SwappedNames,
                         ::testing::Values(Way{"plain", Overwriting::kNone},
                                           Way{"overwriting", Overwriting::kThreePasses},
                                           Way{"plainByTwoThreads", Overwriting::kNone, kShared},
                                           Way{"overwritingByTwoThreads", Overwriting::kThreePasses, kShared}),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(SwappedNames, leadToNoChangeOutside) {
  const auto removeAmongSwaps = [this] { removeStoreAmongSwaps(GetParam()); };
  if (!testing_support::withOwnMounts(removeAmongSwaps)) removeAmongSwaps();  // mounts then fail, and nothing else
  EXPECT_EQ(elsewhere.content("thesis"), std::string(3000, 't'));
  EXPECT_EQ(elsewhere.content("documents/letter"), std::string(3000, 'l'));
  EXPECT_EQ(elsewhere.content("documents/inner"), std::string(3000, 'i'));
  EXPECT_EQ(elsewhere.content("documents/d/note"), std::string(3000, 'n'));
}

}  // namespace
