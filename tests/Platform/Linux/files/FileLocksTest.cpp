// Locks against other processes, of which this process holds one at a time for each file.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <thread>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "Platform/Linux/host/FileDescriptor.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::linux_::FileDescriptor;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using testing_support::ScratchFolder;
using testing_support::swapItems;
using testing_support::SystemCalls;

bool takeLock(int file, short type) {
  struct flock whole {};
  whole.l_type = type;
  whole.l_whence = SEEK_SET;
  return ::fcntl(file, F_SETLK, &whole) == 0;
}

/// Another process that locks a file and keeps it until the object goes.
class OtherProcess {
 public:
  explicit OtherProcess(const std::string& path, short type = F_WRLCK) {
    std::array<int, 2> told{};
    std::array<int, 2> end{};
    EXPECT_EQ(::pipe2(told.data(), O_CLOEXEC) + ::pipe2(end.data(), O_CLOEXEC), 0);
    process_ = ::fork();
    if (process_ == 0) {
      ::close(end[1]);
      const char has = takeLock(::open(path.c_str(), O_RDWR | O_CLOEXEC), type) ? 1 : 0;
      char nothing = 0;
      if (::write(told[1], &has, 1) == 1) [[maybe_unused]]
        const ssize_t ended = ::read(end[0], &nothing, 1);
      ::_exit(0);
    }
    ::close(told[1]);
    ::close(end[0]);
    end_.reset(end[1]);
    char has = 0;
    EXPECT_EQ(::read(told[0], &has, 1), 1);
    ::close(told[0]);
    hasLock_ = has == 1;
  }
  ~OtherProcess() {
    end_.reset();
    ::waitpid(process_, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  bool hasLock() const { return hasLock_; }
  pid_t process() const { return process_; }

 private:
  pid_t process_ = 0;
  FileDescriptor end_;
  bool hasLock_ = false;
};

bool anotherProcessCanLock(const std::string& path, short type = F_WRLCK) {
  return OtherProcess(path, type).hasLock();
}

class FileLocks : public ::testing::Test {
 protected:
  FileLocks() { scopes.openForProcess(FileURL(granted.path(), true)); }

  auto lock(const std::string& below) { return files.lockFile(granted.path(below)); }
  std::error_code refusal(const std::string& path) { return files.lockFile(path).error(); }
  static bool hasOpen(const std::string& path) {
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code ignored;  // for the iterator's own descriptor, which may be closed meanwhile
      if (std::filesystem::read_symlink(descriptor, ignored) == path) return true;
    }
    return false;
  }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
  SystemCalls calls;
};

TEST_F(FileLocks, ofOtherProcessesNameTheirHolder) {
  const std::string path = granted.file("database");
  EXPECT_EQ(files.lockHolder(path), std::nullopt);
  for (const short type : {short{F_WRLCK}, short{F_RDLCK}}) {
    const OtherProcess other(path, type);
    EXPECT_EQ(files.lockHolder(path), other.process());
  }
  EXPECT_EQ(files.lockHolder(path), std::nullopt);
  EXPECT_EQ(files.lockHolder(granted.path("missing")), std::nullopt);
  EXPECT_EQ(files.lockHolder(elsewhere.file("database")), std::nullopt);
}

TEST_F(FileLocks, ofThisProcessOutliveTheQuestionWhoHoldsThem) {
  const std::string path = granted.file("database");
  const auto held = lock("database");
  ASSERT_TRUE(held);
  EXPECT_EQ(files.lockHolder(path), std::nullopt);
  EXPECT_FALSE(anotherProcessCanLock(path));
}

TEST_F(FileLocks, keepOtherProcessesOutAsLongAsTheyLive) {
  granted.file("a", "content");
  {
    const auto held = lock("a");
    ASSERT_TRUE(held);
    EXPECT_FALSE(anotherProcessCanLock(granted.path("a")));
    EXPECT_FALSE(anotherProcessCanLock(granted.path("a"), F_RDLCK));
  }
  EXPECT_TRUE(anotherProcessCanLock(granted.path("a")));
  EXPECT_FALSE(hasOpen(granted.path("a")));
  EXPECT_EQ(granted.content("a"), "content");
}

TEST_F(FileLocks, areNotGivenWhileAnotherProcessHoldsOne) {
  granted.file("a");
  for (const short type : {static_cast<short>(F_WRLCK), static_cast<short>(F_RDLCK)}) {
    const OtherProcess other(granted.path("a"), type);
    ASSERT_TRUE(other.hasLock());
    EXPECT_EQ(refusal(granted.path("a")), std::errc::resource_unavailable_try_again);
  }
  EXPECT_TRUE(lock("a"));
}

TEST_F(FileLocks, areGivenOnceInThisProcess) {
  granted.file("a");
  std::filesystem::create_hard_link(granted.path("a"), granted.path("b"));
  auto held = lock("a");
  ASSERT_TRUE(held);
  EXPECT_EQ(refusal(granted.path("a")), std::errc::resource_unavailable_try_again);
  EXPECT_EQ(refusal(granted.path("b")), std::errc::resource_unavailable_try_again);
  EXPECT_FALSE(anotherProcessCanLock(granted.path("a")));  // the refused attempts have not released the first lock
  held->reset();
  EXPECT_TRUE(lock("b"));
}

TEST_F(FileLocks, areNotGivenUntilTheOneBeforeHasEnded) {
  // Closing the old descriptor would release the new lock, too.
  granted.file("a");
  auto held = lock("a");
  ASSERT_TRUE(held);
  std::error_code meanwhile;
  calls.beforeClose = [&] { meanwhile = refusal(granted.path("a")); };
  held->reset();
  EXPECT_EQ(meanwhile, std::errc::resource_unavailable_try_again);
  EXPECT_TRUE(lock("a"));
}

TEST_F(FileLocks, ofDifferentFilesAreIndependent) {
  granted.file("a");
  granted.file("b");
  auto ofA = lock("a");
  const auto ofB = lock("b");
  ASSERT_TRUE(ofA);
  ASSERT_TRUE(ofB);
  ofA->reset();
  EXPECT_TRUE(anotherProcessCanLock(granted.path("a")));
  EXPECT_FALSE(anotherProcessCanLock(granted.path("b")));
}

TEST_F(FileLocks, areHeldByOneThreadAtATime) {
  granted.file("a");
  std::atomic<int> holders = 0;
  std::atomic<int> most = 0;
  std::atomic<int> given = 0;
  const auto run = [&] {
    for (int round = 0; round < 5000; ++round) {
      const auto held = lock("a");
      if (!held) continue;
      const int now = ++holders;
      if (now > most) most = now;
      ++given;
      --holders;
    }
  };
  std::thread other(run);
  run();
  other.join();
  EXPECT_EQ(most, 1);
  EXPECT_GT(given, 0);
  EXPECT_TRUE(lock("a"));
}

TEST_F(FileLocks, areOfRegularFilesThatExist) {
  granted.folder("folder");
  granted.file("a");
  granted.link("link", "a");
  granted.link("dangling", elsewhere.path("new"));
  const auto before = granted.tree();
  ASSERT_EQ(::mkfifo(granted.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(refusal(granted.path("folder")), std::errc::is_a_directory);
  EXPECT_EQ(refusal(granted.path("link")), std::errc::too_many_symbolic_link_levels);
  EXPECT_EQ(refusal(granted.path("dangling")), std::errc::too_many_symbolic_link_levels);
  EXPECT_EQ(refusal(granted.path("pipe")), std::errc::invalid_argument);
  EXPECT_EQ(refusal(granted.path("missing")), std::errc::no_such_file_or_directory);
  EXPECT_EQ(refusal(granted.path(std::string("a\0b", 3))), std::errc::invalid_argument);
  ::unlink(granted.path("pipe").c_str());
  EXPECT_EQ(granted.tree(), before);
  EXPECT_TRUE(elsewhere.tree().empty());
}

TEST_F(FileLocks, areOfFilesInAGrant) {
  elsewhere.file("a");
  elsewhere.file("alone");
  granted.link("out", elsewhere.path());
  scopes.openForProcess(FileURL(elsewhere.path("alone")));
  EXPECT_EQ(refusal(elsewhere.path("a")), std::errc::operation_not_permitted);
  EXPECT_EQ(refusal(granted.path("out/a")), std::errc::operation_not_permitted);
  EXPECT_EQ(refusal(granted.path("../" + elsewhere.path().substr(5) + "/a")), std::errc::operation_not_permitted);
  EXPECT_TRUE(files.lockFile(elsewhere.path("alone")));
}

TEST_F(FileLocks, areNotOfAFileThatLostItsPlaceMeanwhile) {
  granted.file("a");
  granted.file("b");
  calls.beforeLock = [&] { std::filesystem::rename(granted.path("b"), granted.path("a")); };
  EXPECT_EQ(refusal(granted.path("a")), std::errc::resource_unavailable_try_again);
  calls.beforeLock = [&] { std::filesystem::remove(granted.path("a")); };
  EXPECT_EQ(refusal(granted.path("a")), std::errc::no_such_file_or_directory);
}

TEST_F(FileLocks, areNeverOfAFileOutsideThoughLinksAreSwappedInMeanwhile) {
  elsewhere.file("a");
  granted.file("sub/a");
  granted.link("link", elsewhere.path());
  std::atomic<bool> done = false;
  std::thread attacker([&] {
    while (!done) {
      swapItems(granted.path("sub"), granted.path("link"));
    }
  });
  int given = 0;
  bool isOutside = false;
  for (int round = 0; round < 10'000 && !isOutside; ++round) {
    const auto held = lock("sub/a");
    if (!held) continue;
    ++given;
    isOutside = hasOpen(elsewhere.path("a"));
  }
  done = true;
  attacker.join();
  EXPECT_FALSE(isOutside);
  EXPECT_GT(given, 0);
}

}  // namespace
