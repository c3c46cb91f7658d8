// Obstacles: other processes, permissions, failures at any step, and calls that were cut short.

#include <fcntl.h>
#include <sys/wait.h>

#include "tests/Worker/formats/leveldb/LevelDatabaseTest.h"
#include "tests/support/OrdinaryUser.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Optional;
using testing_support::LevelDatabaseTest;

/// Another process that holds a lock on a file while the object lives.
class OtherProcess {
 public:
  explicit OtherProcess(const std::string& path) {
    int ready[2];
    EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    process_ = ::fork();
    if (process_ == 0) {
      const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
      struct flock whole {};
      whole.l_type = F_WRLCK;
      const bool isLocked = ::fcntl(file, F_SETLK, &whole) == 0;
      if (!isLocked || ::write(ready[1], "", 1) != 1) ::_exit(1);
      while (true) ::pause();
    }
    ::close(ready[1]);
    char byte = 0;
    EXPECT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
  }
  ~OtherProcess() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

 private:
  pid_t process_ = -1;
};

class HinderedLevel : public LevelDatabaseTest {
 protected:
  void make() {
    fs::remove_all(folder);
    fs::remove_all(aside);
    removed.clear();
    if (elsewhere.exists("pristine")) {
      fs::copy(elsewhere.path("pristine"), folder);
      return;
    }
    put(kAll);
    open([](leveldb::DB& database) { database.CompactRange(nullptr, nullptr); });
    put({{"_gone.test late", "gone"}});
    all = kAll;
    all["_gone.test late"] = "gone";
    fs::copy(folder, elsewhere.path("pristine"));
  }

  /// Ends the failures, and expects the next call to leave exactly the kept entries, whatever happened before.
  void expectThatTheNextCallEndsIt(int step) {
    files.failsFrom = 1 << 30;
    onRemove = nullptr;
    ASSERT_EQ(keep("kept.test"), Outcome::kRewritten) << step;
    ASSERT_THAT(inLibrary(), Optional(kKept)) << step;
    ASSERT_FALSE(isThere(aside)) << step;
    ASSERT_THAT(allBytes(), Not(HasSubstr("gone"))) << step;
  }

  const Entries kAll = {{"_gone.test a", "gone value"}, {"_kept.test a", "1"}, {"_kept.test b", "2"}};
  const Entries kKept = {{"_kept.test a", "1"}, {"_kept.test b", "2"}};
  Entries all;
  testing_support::ScratchFolder elsewhere;
};

TEST_F(HinderedLevel, aDatabaseThatAnotherProcessHasOpenIsLeft) {
  make();
  const auto before = platform.home.tree();
  {
    const OtherProcess browser(folder + "/LOCK");
    EXPECT_EQ(keep("kept.test"), Outcome::kLeft);
    EXPECT_EQ(keep("nobody"), Outcome::kLeft);
    EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
    EXPECT_EQ(platform.home.tree(), before);
    EXPECT_THAT(removed, IsEmpty());
  }
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
}

TEST_F(HinderedLevel, noProcessCanOpenItWhileItIsRewritten) {
  make();
  int refusals = 0;
  const auto tryToLock = [&](const std::string& lock) {
    const pid_t child = ::fork();
    if (child == 0) {
      struct flock whole {};
      whole.l_type = F_WRLCK;
      ::_exit(::fcntl(::open(lock.c_str(), O_RDWR | O_CLOEXEC), F_SETLK, &whole) == 0 ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    refusals += status != 0 ? 1 : 0;
  };
  keepOnly(
      folder,
      [&](std::string_view key, std::string_view) {
        tryToLock(folder + "/LOCK");
        return key.starts_with("_kept");
      },
      [](std::string_view) { return false; }, [](const std::string&) {});
  EXPECT_EQ(refusals, static_cast<int>(all.size()));
}

TEST_F(HinderedLevel, aDatabaseWithoutALockThatIsOpenedMeanwhileIsLeft) {
  for (const std::string& wanted : {"_kept"s, "nobody"s}) {
    make();
    fs::remove(folder + "/LOCK");
    const auto isKept = [&](std::string_view key, std::string_view) {
      write(folder + "/LOCK", "");
      return key.starts_with(wanted);
    };
    const auto isPrecious = [](std::string_view) { return false; };
    EXPECT_EQ(keepOnly(folder, isKept, isPrecious, [this](const auto& path) { files.removeItem(path); }),
              Outcome::kLeft);
    EXPECT_THAT(inLibrary(), Optional(all));
    EXPECT_FALSE(isThere(aside));
  }
}

TEST_F(HinderedLevel, theLockIsHeldUntilOnlyItIsLeft) {
  for (const std::string& wanted : {"kept.test"s, "nobody"s}) {
    make();
    const std::string place = wanted == "nobody" ? folder : aside;
    std::vector<bool> isFree;
    onRemove = [&](const std::string& path) {
      if (path != place) isFree.push_back(static_cast<bool>(files.lockFile(place + "/LOCK")));
    };
    keep(wanted);
    ASSERT_GT(isFree.size(), 3U);
    EXPECT_TRUE(isFree.back());  // by the last removal the lock is free
    isFree.pop_back();
    EXPECT_THAT(isFree, testing::Each(false));
  }
}

TEST_F(HinderedLevel, afterwardsTheLockIsFree) {
  for (const std::string& wanted : {"kept.test"s, "nobody"s}) {
    make();
    keep(wanted);
    put({{"a", "b"}});  // fails unless LevelDB can lock it
  }
}

TEST_F(HinderedLevel, insideAReadOnlyFolderItIsLeft) {
  make();
  const std::string parent = folder.substr(0, folder.rfind('/'));
  fs::permissions(parent, fs::perms::owner_read | fs::perms::owner_exec);
  const auto before = platform.home.tree();
  {
    const testing_support::OrdinaryUser user(parent);
    EXPECT_EQ(keep("kept.test"), Outcome::kLeft);
  }
  EXPECT_EQ(platform.home.tree(), before);
  fs::permissions(parent, fs::perms::owner_all);
  EXPECT_THAT(inLibrary(), Optional(all));
}

TEST_F(HinderedLevel, outsideEveryGrantItIsLeft) {
  make();
  fs::copy(folder, elsewhere.path("leveldb"));
  const auto before = elsewhere.tree();
  const auto keepsAll = [](std::string_view, std::string_view) { return true; };
  const auto isPrecious = [](std::string_view) { return false; };
  EXPECT_EQ(keepOnly(elsewhere.path("leveldb"), keepsAll, isPrecious, [](const auto&) { FAIL(); }), Outcome::kLeft);
  EXPECT_EQ(LevelDatabase::entries(elsewhere.path("leveldb")), std::nullopt);
  EXPECT_EQ(elsewhere.tree(), before);
}

TEST_F(HinderedLevel, aFailureAtAnyStepLeavesAWholeDatabase) {
  for (const bool canExchange : {true, false}) {
    files.canExchange = canExchange;
    int step = 0;
    for (bool isReached = true; isReached; ++step) {
      make();
      files.operations = 0;
      files.failsFrom = step;
      files.failures = 1;
      const Outcome outcome = keep("kept.test");
      isReached = files.operations > step;
      files.failsFrom = 1 << 30;
      const auto entries = inLibrary();
      if (outcome == Outcome::kRewritten) {
        ASSERT_THAT(entries, Optional(kKept)) << step;
      } else if (outcome == Outcome::kLeft) {
        ASSERT_THAT(entries, Optional(all)) << step;
      } else {
        FAIL() << "step " << step;
      }
      expectThatTheNextCallEndsIt(step);
    }
    EXPECT_GT(step, 20);
  }
}

TEST_F(HinderedLevel, aCallThatIsCutShortAtAnyStepIsEndedByTheNext) {
  int withoutDatabase = 0;
  for (const bool canExchange : {true, false}) {
    files.canExchange = canExchange;
    int step = 0;
    for (bool isReached = true; isReached; ++step) {
      make();
      files.operations = 0;
      files.failsFrom = step;
      files.failures = 1 << 30;  // all further operations fail, as if the process had ended
      keep("kept.test");
      isReached = files.operations > step;
      files.failsFrom = 1 << 30;
      if (isThere(folder + "/CURRENT")) {
        ASSERT_THAT(inLibrary(), Optional(AnyOf(all, kKept))) << step;
      } else {
        ++withoutDatabase;  // without the exchange there is one such moment
        ASSERT_FALSE(canExchange) << step;
      }
      expectThatTheNextCallEndsIt(step);
    }
    EXPECT_GT(step, 20);
  }
  EXPECT_EQ(withoutDatabase, 1);
}

TEST_F(HinderedLevel, withNothingChosenACallThatIsCutShortIsEndedByTheNext) {
  bool isReached = true;
  for (int step = 0; isReached; ++step) {
    make();
    files.operations = 0;
    files.failsFrom = step;
    files.failures = 1 << 30;
    keep("nobody");
    isReached = files.operations > step;
    files.failsFrom = 1 << 30;
    ASSERT_THAT(keep("nobody"), AnyOf(Outcome::kRemoved, Outcome::kAbsent)) << step;
    keep("nobody");
    ASSERT_THAT(allBytes(), Not(HasSubstr("gone"))) << step;
  }
}

TEST_F(HinderedLevel, theRemovalMayTakeItsTime) {
  make();
  std::vector<std::string> later;
  const auto isKept = [](std::string_view key, std::string_view) { return key.starts_with("_kept"); };
  const auto removal = [&](const std::string& path) { later.push_back(path); };
  const auto isPrecious = [](std::string_view) { return false; };
  EXPECT_EQ(keepOnly(folder, isKept, isPrecious, removal), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
  // What the browser writes meanwhile is rewritten once the earlier removals are done.
  put({{"_gone.test c", "gone"}});
  const auto pending = later;
  EXPECT_EQ(keepOnly(folder, isKept, isPrecious, removal), Outcome::kLeft);
  for (const std::string& path : pending) files.removeItem(path);
  EXPECT_EQ(keepOnly(folder, isKept, isPrecious, removal), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

TEST_F(HinderedLevel, anythingInTheWayIsRemovedFirst) {
  for (const bool isLink : {false, true}) {
    make();
    elsewhere.file("mine");
    if (isLink) {
      fs::create_symlink(elsewhere.path(), aside);
    } else {
      write(aside, "a file");
    }
    EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
    EXPECT_EQ(removed.front(), aside);
    EXPECT_TRUE(elsewhere.exists("mine"));
    EXPECT_THAT(inLibrary(), Optional(kKept));
  }
}

TEST_F(HinderedLevel, aLeftoverGoesEvenWhenTheDatabaseHasGone) {
  write(aside + "/000005.ldb", "gone.test");
  EXPECT_EQ(keep("kept.test"), Outcome::kAbsent);
  EXPECT_FALSE(isThere(aside));
  EXPECT_THAT(removed, testing::ElementsAre(aside + "/000005.ldb", aside));
}

TEST_F(HinderedLevel, aSecondCallForTheSameFolderLeavesItToTheFirst) {
  make();
  fs::remove(folder + "/LOCK");
  Outcome inner{};
  const auto isPrecious = [](std::string_view) { return false; };
  const auto isKept = [&](std::string_view key, std::string_view) {
    inner = keep("nobody");
    return key.starts_with("_kept");
  };
  EXPECT_EQ(keepOnly(folder, isKept, isPrecious, [this](const auto& path) { files.removeItem(path); }),
            Outcome::kRewritten);
  EXPECT_EQ(inner, Outcome::kLeft);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

}  // namespace
