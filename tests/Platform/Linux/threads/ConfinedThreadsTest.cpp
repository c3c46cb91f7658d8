// What confined work can change: the folders that it was given, and nothing else.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <thread>

#include "Platform/Linux/threads/ConfinedThreads.h"
#include "tests/support/KernelWithout.h"
#include "tests/support/ScratchFolder.h"

namespace {

namespace fs = std::filesystem;
using platform::linux_::ConfinedThreads;
using testing_support::Lacking;
using testing_support::ScratchFolder;

class Confined : public ::testing::Test {
 protected:
  Confined() {
    for (const char* place : {"given", "own", "other"}) home.file(std::string(place) + "/file", "mine");
  }

  void run(const platform::Task& task) { threads.run({home.path("given"), home.path("not there")}, task); }

  /// What comes of everything that changes a folder or its files, as the number of what succeeded.
  int changesIn(const char* place) const {
    const std::string folder = home.path(place) + "/";
    int changes = 0;
    const int written = ::open((folder + "file").c_str(), O_WRONLY | O_CLOEXEC);
    changes += written >= 0 ? 1 : 0;
    if (written >= 0) ::close(written);
    changes += ::truncate((folder + "file").c_str(), 2) == 0 ? 1 : 0;
    const int made = ::open((folder + "new").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    changes += made >= 0 ? 1 : 0;
    if (made >= 0) ::close(made);
    changes += ::mkdir((folder + "folder").c_str(), 0700) == 0 ? 1 : 0;
    changes += ::symlink("elsewhere", (folder + "link").c_str()) == 0 ? 1 : 0;
    changes += ::rename((folder + "file").c_str(), (folder + "moved").c_str()) == 0 ? 1 : 0;
    changes += ::unlink((folder + "moved").c_str()) == 0 || ::unlink((folder + "file").c_str()) == 0 ? 1 : 0;
    changes += ::rmdir((folder + "folder").c_str()) == 0 ? 1 : 0;
    return changes;
  }
  static constexpr int kAll = 8;

  ScratchFolder home;
  ConfinedThreads threads{{home.path("own"), home.path("neither there")}};
};

TEST_F(Confined, workChangesWhatItWasGivenAndThePlatformsOwn) {
  run([this] {
    EXPECT_EQ(changesIn("given"), kAll);
    EXPECT_EQ(changesIn("own"), kAll);
  });
}

TEST_F(Confined, workChangesNothingElse) {
  const auto before = home.tree();
  run([this] {
    EXPECT_EQ(changesIn("other"), 0);
    EXPECT_EQ(::rename(home.path("other/file").c_str(), home.path("given/stolen").c_str()), -1);
    EXPECT_EQ(::rename(home.path("given/file").c_str(), home.path("other/left").c_str()), -1);
  });
  EXPECT_EQ(home.tree(), before);
  EXPECT_EQ(changesIn("other"), kAll);  // the thread that waited can do what it always could
}

TEST_F(Confined, workCanNotGetOutByThreadsOfItsOwn) {
  run([this] { std::thread([this] { EXPECT_EQ(changesIn("other"), 0); }).join(); });
}

TEST_F(Confined, workReadsWhatItLikes) {
  run([this] { EXPECT_EQ(home.content("other/file"), "mine"); });
}

TEST_F(Confined, workMovesFilesBetweenItsFolders) {
  home.folder("given/a");
  home.folder("given/b");
  home.file("given/a/file", "mine");
  run([this] { fs::rename(home.path("given/a/file"), home.path("given/b/file")); });
  EXPECT_TRUE(home.exists("given/b/file"));
}

TEST_F(Confined, workHasThingsDoneOutside) {
  run([this] {
    threads.outside([this] { EXPECT_EQ(changesIn("other"), kAll); });
    EXPECT_EQ(::access(home.path("other/file").c_str(), F_OK), -1);
    threads.outside([this] { home.file("other/again"); });
    EXPECT_TRUE(home.exists("other/again"));
  });
  bool isDone = false;
  threads.outside([&isDone] { isDone = true; });  // where nothing is confined
  EXPECT_TRUE(isDone);
}

TEST_F(Confined, workCanLookAtProcessesOutsideOnly) {
  const std::string executable = "/proc/" + std::to_string(::getppid()) + "/exe";
  ASSERT_FALSE(fs::read_symlink(executable).empty());
  run([&] {
    std::error_code error;
    EXPECT_TRUE(fs::read_symlink(executable, error).empty());
    EXPECT_EQ(error, std::errc::permission_denied);
    threads.outside([&] { EXPECT_FALSE(fs::read_symlink(executable).empty()); });
  });
}

TEST_F(Confined, workInsideOfWorkHasTheRightsOfBoth) {
  home.file("given/inner/file", "mine");
  run([this] {
    threads.run({home.path("given/inner"), home.path("other")}, [this] {
      EXPECT_EQ(changesIn("given/inner"), kAll);
      EXPECT_EQ(changesIn("other"), 0);
      EXPECT_EQ(::unlink(home.path("given/file").c_str()), -1);
    });
  });
}

TEST_F(Confined, whatWorkThrowsIsThrownByWhoWaits) {
  EXPECT_THROW(run([] { throw std::runtime_error("inside"); }), std::runtime_error);
  run([this] { EXPECT_THROW(threads.outside([] { throw std::runtime_error("outside"); }), std::runtime_error); });
}

TEST_F(Confined, workIsDoneWhereTheKernelHasNoMeans) {
  testing_support::withKernel(Lacking::kLandlock, [this] { run([this] { EXPECT_EQ(changesIn("given"), kAll); }); });
}

}  // namespace
