// Moving a file to the place of another.

#include <gtest/gtest.h>

#include <filesystem>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using testing_support::ScratchFolder;

class Replacing : public ::testing::Test {
 protected:
  Replacing() { scopes.openForProcess(FileURL(granted.path(), true)); }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
};

TEST_F(Replacing, putsTheOneFileWhereTheOtherWas) {
  granted.file("old", "1");
  granted.file("new", "2");
  EXPECT_FALSE(files.replaceItem(granted.path("old"), granted.path("new")));
  EXPECT_EQ(granted.content("old"), "2");
  EXPECT_FALSE(granted.exists("new"));
}

TEST_F(Replacing, replacesALinkAndNotWhatItLeadsTo) {
  elsewhere.file("kept", "1");
  std::filesystem::create_symlink(elsewhere.path("kept"), granted.path("link"));
  granted.file("new", "2");
  EXPECT_FALSE(files.replaceItem(granted.path("link"), granted.path("new")));
  EXPECT_EQ(granted.content("link"), "2");
  EXPECT_EQ(elsewhere.content("kept"), "1");
}

TEST_F(Replacing, isRefusedOutsideOfTheGrantsOnEitherSide) {
  granted.file("mine", "1");
  elsewhere.file("theirs", "2");
  EXPECT_EQ(files.replaceItem(elsewhere.path("theirs"), granted.path("mine")), std::errc::operation_not_permitted);
  EXPECT_EQ(files.replaceItem(granted.path("mine"), elsewhere.path("theirs")), std::errc::operation_not_permitted);
  EXPECT_EQ(granted.content("mine"), "1");
  EXPECT_EQ(elsewhere.content("theirs"), "2");
}

TEST_F(Replacing, byWhatIsMissingChangesNothing) {
  granted.file("old", "1");
  EXPECT_EQ(files.replaceItem(granted.path("old"), granted.path("new")), std::errc::no_such_file_or_directory);
  EXPECT_EQ(granted.content("old"), "1");
}

}  // namespace
