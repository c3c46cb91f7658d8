// Removing whole folders that are deep, odd, attacked, or written to meanwhile.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using testing_support::ScratchFolder;

class TreeRemoval : public ::testing::Test {
 protected:
  TreeRemoval() { scopes.openForProcess(FileURL(granted.path(), true)); }
  std::error_code remove(const std::string& below) { return files.removeItem(granted.path(below)).error; }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
};

/// Makes nested folders with a file in the last. The path is longer than PATH_MAX.
void makeDeepTree(const std::string& root, int levels) {
  int folder = ::open(root.c_str(), O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < levels; ++level) {
    ASSERT_EQ(::mkdirat(folder, "d", 0700), 0);
    const int next = ::openat(folder, "d", O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    folder = next;
  }
  ::close(::openat(folder, "file", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  ::close(folder);
}

TEST_F(TreeRemoval, goesFiveThousandFoldersDeep) {
  granted.folder("deep");
  makeDeepTree(granted.path("deep"), 5000);
  EXPECT_FALSE(remove("deep"));
  EXPECT_FALSE(granted.exists("deep"));
}

TEST_F(TreeRemoval, goesDeepWithFewDescriptors) {
  granted.folder("deep");
  makeDeepTree(granted.path("deep"), 1000);
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit few{64, limit.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_FALSE(remove("deep"));
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_FALSE(granted.exists("deep"));
}

TEST_F(TreeRemoval, takesNamesWithEveryByteButSlashAndNul) {
  granted.folder("odd");
  const int folder = ::open(granted.path("odd").c_str(), O_DIRECTORY | O_CLOEXEC);
  for (int byte = 1; byte < 256; ++byte) {
    if (byte == '/') continue;
    const std::string name = {'n', static_cast<char>(byte)};
    ASSERT_EQ(::mkdirat(folder, name.c_str(), 0700), 0);
    const std::string file = name + "/" + name;
    ::close(::openat(folder, file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  }
  ::close(folder);
  EXPECT_FALSE(remove("odd"));
  EXPECT_FALSE(granted.exists("odd"));
}

TEST_F(TreeRemoval, takesOneItemOfSuchAName) {
  const std::string name = "\x01\n\xff\"'*";
  granted.file(name);
  EXPECT_FALSE(remove(name));
  EXPECT_TRUE(granted.tree().empty());
}

TEST_F(TreeRemoval, takesEveryKindOfFile) {
  granted.file("all/file");
  granted.link("all/link", "/etc");
  granted.link("all/loop", "loop");
  ASSERT_EQ(::mkfifo(granted.path("all/pipe").c_str(), 0600), 0);
  EXPECT_FALSE(remove("all"));
  EXPECT_FALSE(granted.exists("all"));
}

TEST_F(TreeRemoval, neverFollowsLinks) {
  elsewhere.file("keep/a");
  granted.link("folder/out", elsewhere.path("keep"));
  granted.link("folder/file", elsewhere.path("keep/a"));
  EXPECT_FALSE(remove("folder"));
  EXPECT_FALSE(granted.exists("folder"));
  EXPECT_TRUE(elsewhere.exists("keep/a"));
}

TEST_F(TreeRemoval, goesOnPastWhatItCanNotRemove) {
  granted.file("folder/a/stays");
  granted.file("folder/b/goes");
  granted.file("folder/c/goes");
  for (const char* path : {"folder", "folder/b", "folder/c"}) {
    ASSERT_EQ(::chmod(granted.path(path).c_str(), 0777), 0);
  }
  ASSERT_EQ(::chmod(granted.path("folder/a").c_str(), 0555), 0);
  {
    const testing_support::OrdinaryUser user(granted.path());
    EXPECT_EQ(remove("folder"), std::errc::permission_denied);
  }
  EXPECT_TRUE(granted.exists("folder/a/stays"));
  EXPECT_FALSE(granted.exists("folder/b"));
  EXPECT_FALSE(granted.exists("folder/c"));
}

TEST_F(TreeRemoval, removesAFolderThatIsWrittenToMeanwhile) {
  granted.folder("busy");
  std::atomic<bool> started = false;
  std::thread writer([&] {
    // Keeps writing during the removal, like a program that is shutting down.
    for (int number = 0; number < 3000; ++number) {
      const std::string path = granted.path("busy/" + std::to_string(number % 7));
      ::mkdir(path.c_str(), 0700);
      const int file = ::open((path + "/f" + std::to_string(number)).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
      if (file >= 0) ::close(file);
      if (number == 300) started = true;
    }
  });
  while (!started) std::this_thread::yield();
  remove("busy");
  writer.join();
  // The second run removes what was written during or after the first.
  remove("busy");
  EXPECT_FALSE(granted.exists("busy"));
}

TEST_F(TreeRemoval, touchesNothingOutsideWhenALinkIsSwappedInMeanwhile) {
  for (int round = 0; round < 30; ++round) {
    for (int index = 0; index < 20; ++index) elsewhere.file("keep/" + std::to_string(index));
    for (int index = 0; index < 20; ++index) granted.file("folder/sub/" + std::to_string(index));
    granted.link("link", elsewhere.path("keep"));
    std::atomic<bool> done = false;
    std::thread attacker([&] {
      while (!done) {
        ::renameat2(AT_FDCWD, granted.path("folder/sub").c_str(), AT_FDCWD, granted.path("link").c_str(),
                    RENAME_EXCHANGE);
      }
    });
    remove("folder");
    done = true;
    attacker.join();
    ASSERT_EQ(elsewhere.tree("keep").size(), 20U);
    std::filesystem::remove_all(granted.path("folder"));
    std::filesystem::remove_all(granted.path("link"));
  }
}

TEST_F(TreeRemoval, touchesNothingOutsideWhenTheFolderItselfIsSwapped) {
  for (int round = 0; round < 30; ++round) {
    elsewhere.file("keep/a");
    granted.file("folder/a");
    granted.link("link", elsewhere.path("keep"));
    std::atomic<bool> done = false;
    std::thread attacker([&] {
      while (!done) {
        ::renameat2(AT_FDCWD, granted.path("folder").c_str(), AT_FDCWD, granted.path("link").c_str(), RENAME_EXCHANGE);
      }
    });
    for (int attempt = 0; attempt < 20; ++attempt) remove("folder/a");
    remove("folder");
    done = true;
    attacker.join();
    ASSERT_TRUE(elsewhere.exists("keep/a"));
    std::filesystem::remove_all(granted.path("folder"));
    std::filesystem::remove_all(granted.path("link"));
  }
}

TEST_F(TreeRemoval, ofTheSameFolderByTwoThreadsIsHarmless) {
  for (int round = 0; round < 10; ++round) {
    for (int index = 0; index < 200; ++index)
      granted.file("folder/" + std::to_string(index % 10) + "/" + std::to_string(index));
    std::thread other([&] { remove("folder"); });
    remove("folder");
    other.join();
    ASSERT_FALSE(granted.exists("folder"));
  }
}

}  // namespace
