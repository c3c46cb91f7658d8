// The system calls behind platform::System.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "Platform/Linux/files/LinuxSystem.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::linux_::LinuxSystem;
using platform::linux_::SecurityScopes;

class OperatingSystem : public ::testing::Test {
 protected:
  testing_support::ScratchFolder folder;
  SecurityScopes scopes;
  LinuxSystem system{scopes};
};

TEST_F(OperatingSystem, knowsTheHomeFolderFromThePasswordDatabase) {
  EXPECT_EQ(system.getuid(), ::getuid());
  EXPECT_EQ(system.homeDirectoryFromPasswordDatabase(::getuid()), ::getpwuid(::getuid())->pw_dir);
  EXPECT_FALSE(system.homeDirectoryFromPasswordDatabase(4'000'000'000U));
}

TEST_F(OperatingSystem, knowsTheUserByTheRealIdAndNotByTheEffectiveOne) {
  const unsigned real = ::getuid();
  const testing_support::OrdinaryUser user(folder.path());
  EXPECT_EQ(system.getuid(), real);
}

TEST_F(OperatingSystem, knowsTheStandardFoldersOfAHome) {
  folder.file(".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Geladen\"\n");
  EXPECT_THAT(system.userDirectories(folder.path()),
              ::testing::IsSupersetOf({folder.path("Downloads"), folder.path("Geladen")}));
}

TEST_F(OperatingSystem, opensUnderTheGrantsOnly) {
  const std::string path = folder.file("a", "12345");
  EXPECT_EQ(system.openForReadingAndWriting(path), -1);
  scopes.openForProcess(platform::FileURL(folder.path(), true));
  const int descriptor = system.openForReadingAndWriting(path);
  ASSERT_GE(descriptor, 0);
  EXPECT_EQ(system.fstatSize(descriptor), 5);
  EXPECT_EQ(system.write(descriptor, "ABC", 3), 3);
  EXPECT_EQ(system.close(descriptor), 0);
  EXPECT_EQ(folder.content("a"), "ABC45");
}

TEST_F(OperatingSystem, makesNoFilesAndOpensNoFolders) {
  scopes.openForProcess(platform::FileURL(folder.path(), true));
  EXPECT_EQ(system.openForReadingAndWriting(folder.path("missing")), -1);
  EXPECT_EQ(system.openForReadingAndWriting(folder.path()), -1);
  EXPECT_TRUE(folder.tree().empty());
}

TEST_F(OperatingSystem, reportsFailuresTheClassicWay) {
  EXPECT_FALSE(system.fstatSize(-1));
  EXPECT_EQ(system.write(-1, "x", 1), -1);
  EXPECT_EQ(system.close(-1), -1);
}

TEST_F(OperatingSystem, givesRandomNumbersOfThirtyOneBits) {
  system.srandomdev();
  const std::int64_t first = system.random();
  bool differs = false;
  for (int round = 0; round < 100; ++round) {
    const std::int64_t number = system.random();
    EXPECT_GE(number, 0);
    EXPECT_LT(number, std::int64_t{1} << 31);
    differs |= number != first;
  }
  EXPECT_TRUE(differs);
}

}  // namespace
