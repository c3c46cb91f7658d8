// Exchanging two items: each gets the other's name, and nothing outside of the grants is reached.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using ::testing::ElementsAre;
using testing_support::ScratchFolder;
using testing_support::swapItems;
using testing_support::SystemCalls;

class Exchange : public ::testing::Test {
 protected:
  Exchange() { scopes.openForProcess(FileURL(granted.path(), true)); }

  std::error_code exchange(const std::string& below, const std::string& other) {
    return files.exchangeItems(granted.path(below), granted.path(other));
  }
  struct stat statusOf(const std::string& below) const {
    struct stat status {};
    EXPECT_EQ(::lstat(granted.path(below).c_str(), &status), 0) << below;
    return status;
  }
  ino_t inode(const std::string& below) const { return statusOf(below).st_ino; }
  /// A path that begins inside the grant and leads to `below` outside of it through "..".
  std::string wayOut(const std::string& below) const {
    return granted.path("../" + elsewhere.path().substr(5) + "/" + below);
  }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
  SystemCalls calls;
};

TEST_F(Exchange, givesItemsEachOthersPlace) {
  granted.file("a/one", "1");
  granted.file("b/two", "2");
  EXPECT_FALSE(exchange("a/one", "b/two"));
  EXPECT_EQ(granted.content("a/one"), "2");
  EXPECT_EQ(granted.content("b/two"), "1");
  EXPECT_FALSE(exchange("a", "b"));
  EXPECT_EQ(granted.content("a/two"), "1");
  EXPECT_FALSE(exchange("a/two", "b"));  // a file and a folder
  EXPECT_EQ(granted.content("a/two/one"), "2");
  EXPECT_EQ(granted.content("b"), "1");
}

TEST_F(Exchange, followsNoLinks) {
  granted.file("a", "1");
  elsewhere.file("kept", "outside");
  granted.link("link", elsewhere.path("kept"));
  granted.link("dangling", "nowhere");
  EXPECT_FALSE(exchange("a", "link"));
  EXPECT_EQ(std::filesystem::read_symlink(granted.path("a")), elsewhere.path("kept"));
  EXPECT_EQ(granted.content("link"), "1");
  EXPECT_FALSE(exchange("dangling", "a"));
  EXPECT_EQ(std::filesystem::read_symlink(granted.path("a")), "nowhere");
  EXPECT_EQ(elsewhere.content("kept"), "outside");
}

TEST_F(Exchange, flushesTheFoldersOfBothItems) {
  granted.file("a/one");
  granted.file("b/two");
  EXPECT_FALSE(exchange("a/one", "b/two"));
  EXPECT_THAT(calls.flushed, ElementsAre(inode("a"), inode("b")));
}

TEST_F(Exchange, leavesNeitherItemMissingForAMoment) {
  granted.folder("one");
  granted.folder("two");
  std::atomic<bool> done = false;
  std::atomic<int> missing = 0;
  std::thread watcher([&] {
    while (!done) {
      if (!granted.exists("one") || !granted.exists("two")) ++missing;
    }
  });
  for (int round = 0; round < 300; ++round) EXPECT_FALSE(exchange("one", "two"));
  done = true;
  watcher.join();
  EXPECT_EQ(missing, 0);
}

TEST_F(Exchange, isRefusedWhenEitherItemLiesOutsideOfAGrant) {
  granted.file("a", "inside");
  elsewhere.file("a", "outside");
  granted.link("out", elsewhere.path());
  for (const std::string& outside : {elsewhere.path("a"), wayOut("a"), granted.path("out/a"), granted.path()}) {
    EXPECT_EQ(files.exchangeItems(granted.path("a"), outside), std::errc::operation_not_permitted) << outside;
    EXPECT_EQ(files.exchangeItems(outside, granted.path("a")), std::errc::operation_not_permitted) << outside;
  }
  EXPECT_EQ(granted.content("a"), "inside");
  EXPECT_EQ(elsewhere.content("a"), "outside");
}

TEST_F(Exchange, failsWhenEitherItemIsMissing) {
  granted.file("a", "kept");
  EXPECT_EQ(exchange("a", "missing"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(exchange("missing", "a"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(exchange("a", "missing/deeper"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(exchange("a", std::string("b\0c", 3)), std::errc::invalid_argument);
  EXPECT_EQ(granted.content("a"), "kept");
}

TEST_F(Exchange, isToldToBeNotSupportedWhereTheFileSystemCanNot) {
  granted.file("a", "1");
  granted.file("b", "2");
  for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
    calls.exchangeError = error;
    EXPECT_EQ(exchange("a", "b"), std::errc::not_supported) << error;
  }
  calls.exchangeError = EIO;
  EXPECT_EQ(exchange("a", "b"), std::errc::io_error);
  EXPECT_EQ(granted.content("a"), "1");
}

TEST_F(Exchange, isUndoneWhenTheFoldersCanNotBeFlushed) {
  granted.file("a/one", "1");
  granted.file("b/two", "2");
  for (const std::size_t which : {1U, 2U}) {
    calls.flushed.clear();
    calls.failingFlush = which;
    EXPECT_EQ(exchange("a/one", "b/two"), std::errc::io_error);
    EXPECT_EQ(granted.content("a/one"), "1");
    EXPECT_EQ(granted.content("b/two"), "2");
  }
}

TEST_F(Exchange, actsInTheFolderThatWasFoundThoughALinkTakesItsPlace) {
  elsewhere.file("a", "outside");
  granted.link("link", elsewhere.path());
  for (const bool first : {true, false}) {
    granted.file("sub/a", "1");
    granted.file("b", "2");
    calls.beforeExchange = [&] { swapItems(granted.path("sub"), granted.path("link")); };
    EXPECT_FALSE(first ? exchange("sub/a", "b") : exchange("b", "sub/a"));
    EXPECT_EQ(granted.content("link/a"), "2");
    EXPECT_EQ(granted.content("b"), "1");
    swapItems(granted.path("sub"), granted.path("link"));
  }
  EXPECT_EQ(elsewhere.content("a"), "outside");
}

TEST_F(Exchange, reachesNothingOutsideThoughLinksAreSwappedInMeanwhile) {
  elsewhere.file("a", "outside");
  granted.file("sub/a", "inside");
  granted.file("b", "inside");
  granted.link("link", elsewhere.path());
  calls.skipsFlushes = true;
  std::atomic<bool> done = false;
  std::thread attacker([&] {
    while (!done) swapItems(granted.path("sub"), granted.path("link"));
  });
  int exchanged = 0;
  bool isUntouched = true;
  for (int round = 0; round < 10'000 && isUntouched; ++round) {
    if (!(round % 2 == 0 ? exchange("sub/a", "b") : exchange("b", "sub/a"))) ++exchanged;
    // Checked each time, because a second exchange would restore the content.
    isUntouched = elsewhere.content("a") == "outside";
  }
  done = true;
  attacker.join();
  EXPECT_TRUE(isUntouched);
  EXPECT_GT(exchanged, 0);
}

}  // namespace
