// Creating folders and files: what is on the disk afterwards, and what stays unchanged.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
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

class NewItems : public ::testing::Test {
 protected:
  NewItems() { scopes.openForProcess(FileURL(granted.path(), true)); }

  std::error_code createFolder(const std::string& below) { return files.createFolder(granted.path(below)); }
  std::error_code createFile(const std::string& below, std::string_view contents = "new", unsigned permissions = 0600) {
    return files.createFile(granted.path(below), contents, permissions);
  }
  struct stat statusOf(const std::string& below) const {
    struct stat status {};
    EXPECT_EQ(::lstat(granted.path(below).c_str(), &status), 0) << below;
    return status;
  }
  unsigned permissions(const std::string& below) const { return statusOf(below).st_mode & 07777; }
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

class Umask {
 public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  ~Umask() { ::umask(before_); }
  Umask(const Umask&) = delete;
  Umask& operator=(const Umask&) = delete;

 private:
  const mode_t before_;
};

// Folders.

TEST_F(NewItems, areFoldersOfTheirOwnersAlone) {
  const Umask open(0);
  EXPECT_FALSE(createFolder("new"));
  EXPECT_EQ(statusOf("new").st_mode, static_cast<mode_t>(S_IFDIR | 0700));
}

TEST_F(NewItems, thatAreFoldersTakeNoOnesPlace) {
  granted.file("file");
  granted.folder("folder");
  granted.link("link", "folder");
  granted.link("dangling", elsewhere.path("new"));
  const auto before = granted.tree();
  for (const char* name : {"file", "folder", "link", "dangling", "folder/..", "."}) {
    EXPECT_TRUE(createFolder(name)) << name;
  }
  EXPECT_EQ(createFolder("file"), std::errc::file_exists);
  EXPECT_EQ(createFolder("dangling"), std::errc::file_exists);
  EXPECT_EQ(granted.tree(), before);
  EXPECT_TRUE(elsewhere.tree().empty());
}

TEST_F(NewItems, thatAreFoldersLieInAGrant) {
  granted.link("out", elsewhere.path());
  EXPECT_EQ(files.createFolder(elsewhere.path("new")), std::errc::operation_not_permitted);
  EXPECT_EQ(files.createFolder(wayOut("new")), std::errc::operation_not_permitted);
  EXPECT_EQ(createFolder("out/new"), std::errc::operation_not_permitted);
  EXPECT_EQ(createFolder("missing/new"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(createFolder(std::string("a\0b", 3)), std::errc::invalid_argument);
  EXPECT_TRUE(elsewhere.tree().empty());
}

// Files.

TEST_F(NewItems, haveTheirContentsAndPermissionsWhateverTheUmask) {
  const std::string contents = std::string(3'000'000, 'x') + '\0';
  for (const mode_t mask : {0U, 077U, 0777U}) {
    const Umask umask(mask);
    EXPECT_FALSE(createFile("new", contents, 0644));
    EXPECT_EQ(granted.content("new"), contents);
    EXPECT_EQ(permissions("new"), 0644U);
    std::filesystem::remove(granted.path("new"));
  }
  EXPECT_FALSE(createFile("empty", "", 07400));
  EXPECT_EQ(granted.content("empty"), "");
  EXPECT_EQ(permissions("empty"), 0400U);
}

TEST_F(NewItems, areFlushedAndThenTheirFolder) {
  granted.folder("folder");
  EXPECT_FALSE(createFile("folder/new"));
  EXPECT_THAT(calls.flushed, ElementsAre(inode("folder/new"), inode("folder")));
}

TEST_F(NewItems, thatAreFilesTakeNoOnesPlace) {
  granted.file("file", "kept");
  granted.folder("folder");
  granted.link("link", "file");
  granted.link("dangling", elsewhere.path("new"));
  const auto before = granted.tree();
  for (const char* name : {"file", "folder", "link", "dangling"}) {
    EXPECT_EQ(createFile(name), std::errc::file_exists) << name;
  }
  EXPECT_TRUE(createFile("folder/.."));
  EXPECT_EQ(granted.tree(), before);
  EXPECT_TRUE(elsewhere.tree().empty());
}

TEST_F(NewItems, thatAreFilesLieInAGrant) {
  granted.link("out", elsewhere.path());
  elsewhere.file("alone");
  scopes.openForProcess(FileURL(elsewhere.path("alone")));
  EXPECT_EQ(files.createFile(elsewhere.path("new"), "new", 0600), std::errc::operation_not_permitted);
  EXPECT_EQ(files.createFile(elsewhere.path("alone"), "new", 0600), std::errc::operation_not_permitted);
  EXPECT_EQ(files.createFile(wayOut("new"), "new", 0600), std::errc::operation_not_permitted);
  EXPECT_EQ(createFile("out/new"), std::errc::operation_not_permitted);
  EXPECT_EQ(createFile("missing/new"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(createFile(std::string("a\0b", 3)), std::errc::invalid_argument);
  EXPECT_EQ(elsewhere.tree().size(), 1U);
}

TEST_F(NewItems, thatDoNotFitAreNotThere) {
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{100'000, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &small);
  const std::error_code error = createFile("new", std::string(300'000, 'x'));
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(error, std::errc::file_too_large);
  EXPECT_TRUE(granted.tree().empty());
}

TEST_F(NewItems, thatCanNotBeFlushedAreNotThere) {
  for (const std::size_t which : {1U, 2U}) {
    calls.flushed.clear();
    calls.failingFlush = which;
    EXPECT_EQ(createFile("new"), std::errc::io_error);
    EXPECT_TRUE(granted.tree().empty());
  }
}

TEST_F(NewItems, thatFailAreNotTakenBackFromWhereAnotherStandsMeanwhile) {
  granted.file("other", "kept");
  calls.beforeFlush = [&] { std::filesystem::rename(granted.path("other"), granted.path("new")); };
  calls.failingFlush = 1;
  EXPECT_EQ(createFile("new"), std::errc::io_error);
  EXPECT_EQ(granted.content("new"), "kept");
}

TEST_F(NewItems, mayLieWhereFoldersCanNotBeFlushed) {
  calls.failingFlush = 2;
  calls.flushError = EINVAL;
  EXPECT_FALSE(createFile("new"));
  EXPECT_EQ(granted.content("new"), "new");
}

TEST_F(NewItems, neverLieOutsideThoughTheirFolderIsSwapped) {
  granted.folder("sub");
  granted.link("link", elsewhere.path());
  calls.skipsFlushes = true;
  int made = 0;
  std::atomic<bool> done = false;
  std::thread attacker([&] {
    while (!done) swapItems(granted.path("sub"), granted.path("link"));
  });
  for (int round = 0; round < 10'000; ++round) {
    if (!createFolder("sub/folder" + std::to_string(round))) ++made;
    if (!createFile("sub/file" + std::to_string(round))) ++made;
  }
  done = true;
  attacker.join();
  EXPECT_GT(made, 0);
  EXPECT_TRUE(elsewhere.tree().empty());
}

TEST_F(NewItems, neverGoThroughALinkThatComesMeanwhile) {
  std::atomic<bool> done = false;
  std::thread attacker([&] {
    while (!done) {
      std::error_code ignored;
      std::filesystem::create_symlink(elsewhere.path("target"), granted.path("new"), ignored);
      ::unlink(granted.path("new").c_str());
    }
  });
  for (int round = 0; round < 300; ++round) {
    createFile("new");
    files.removeItem(granted.path("new"));
  }
  done = true;
  attacker.join();
  EXPECT_TRUE(elsewhere.tree().empty());
}

}  // namespace
