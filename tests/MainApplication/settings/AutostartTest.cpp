// Whether the worker starts with the session, in the person's own folders.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "MainApplication/settings/Autostart.h"
#include "tests/support/ScratchFolder.h"

namespace {

namespace fs = std::filesystem;

class AutostartOfPerson : public ::testing::Test {
 protected:
  std::string entry() const { return folder.path("autostart/tidewell-worker.desktop"); }
  std::string mask() const {
    return folder.path("systemd/user/graphical-session.target.wants/tidewell-worker.service");
  }

  testing_support::ScratchFolder folder;
  tidewell::Autostart autostart{folder.path(), "/opt/tide well/tidewell-worker"};
};

TEST_F(AutostartOfPerson, isOffWhereNothingIsInstalled) {
  EXPECT_FALSE(autostart.isOn());
}

TEST_F(AutostartOfPerson, isSwitchedOnByAnEntryOfItsOwnWhereNothingIsInstalled) {
  ASSERT_TRUE(autostart.set(true));
  EXPECT_TRUE(autostart.isOn());
  std::ifstream file(entry());
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  EXPECT_NE(text.find("Exec=\"/opt/tide well/tidewell-worker\"\n"), std::string::npos);
}

TEST_F(AutostartOfPerson, isSwitchedOffForTheDesktopAndForTheServiceManager) {
  ASSERT_TRUE(autostart.set(false));
  EXPECT_FALSE(autostart.isOn());
  EXPECT_TRUE(fs::exists(entry()));
  EXPECT_EQ(fs::read_symlink(mask()), "/dev/null");
}

TEST_F(AutostartOfPerson, isSwitchedOnAgain) {
  ASSERT_TRUE(autostart.set(false));
  ASSERT_TRUE(autostart.set(true));
  EXPECT_TRUE(autostart.isOn());
  EXPECT_FALSE(fs::exists(fs::symlink_status(mask())));
}

TEST_F(AutostartOfPerson, leavesALinkOfThePersonsOwn) {
  fs::create_directories(fs::path(mask()).parent_path());
  fs::create_symlink("/opt/tidewell-worker.service", mask());
  ASSERT_TRUE(autostart.set(false));
  ASSERT_TRUE(autostart.set(true));
  EXPECT_EQ(fs::read_symlink(mask()), "/opt/tidewell-worker.service");
}

TEST_F(AutostartOfPerson, saysThatItCouldNotBeSet) {
  folder.file("autostart", "a file where the folder should be");
  EXPECT_FALSE(autostart.set(false));
}

}  // namespace
