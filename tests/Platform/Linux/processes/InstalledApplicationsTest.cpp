// Quits of applications, wherever their programs are and whenever they are installed.

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/WorkspaceTest.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::LinuxWorkspace;
using ::testing::ElementsAre;
using testing_support::installStandIn;
using testing_support::QuittingApplications;
using testing_support::TestProcess;

TEST_F(QuittingApplications, mayBeInstalledLater) {
  std::filesystem::remove(bin("opera"));
  start();
  installStandIn(bin("opera"));
  settle();
  run("opera").end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBeInstalledLaterInAFolderThatIsNotThereYet) {
  std::filesystem::remove(bin("opera"));
  start();
  installStandIn(folder.path("elsewhere/opera"));
  settle();
  TestProcess process({folder.path("elsewhere/opera"), "wait"});
  settle();
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBeReplacedWhileTheyRun) {
  start();
  TestProcess old = run("opera");
  installStandIn(bin("opera"));
  settle();
  old.end();
  ASSERT_TRUE(waitForQuits(1));
  run("opera").end();
  ASSERT_TRUE(waitForQuits(2));
}

TEST_F(QuittingApplications, areNotToldWhileTheirLinkMovesToANewVersion) {
  std::filesystem::remove(bin("opera"));
  installStandIn(folder.path("v1/opera-program"));
  installStandIn(folder.path("v2/opera-program-2"));
  std::filesystem::create_symlink(folder.path("v1/opera-program"), bin("opera"));
  start();
  TestProcess old = run("opera");
  std::filesystem::create_symlink(folder.path("v2/opera-program-2"), bin("opera.new"));
  std::filesystem::rename(bin("opera.new"), bin("opera"));
  settle();
  EXPECT_TRUE(quits.empty());
  old.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, areKnownByTheirPlaceBeforeTheirName) {
  installStandIn(folder.path("snap/77/chrome"));
  start();
  TestProcess process({folder.path("snap/77/chrome"), "wait"});
  settle();
  process.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(quits, ElementsAre("Chromium"));
}

TEST_F(QuittingApplications, areFoundByTheirDesktopEntry) {
  std::filesystem::remove(bin("opera"));
  installStandIn(folder.path("some where/opera"));
  folder.file(
      "applications/opera.desktop",
      "[Desktop Action new]\nExec=/nowhere/opera\n[Desktop Entry]\nExec=env A=b " + folder.path("x/opera") + " %U\n");
  installStandIn(folder.path("x/opera"));
  // One that nobody writes to must hold nothing up.
  ASSERT_EQ(::mkfifo(folder.path("applications/pipe.desktop").c_str(), 0600), 0);
  start();
  TestProcess process({folder.path("x/opera"), "wait"});
  settle();
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, areNoticedThoughTheirProgramLiesNowhereWhenTheyAreWanted) {
  std::filesystem::remove(bin("opera"));
  if (!platform::linux_::ProcessConnector::open(loop, [](pid_t) {})) {
    // The kernel announces no starts to this process, so there is nothing to test.
    SUCCEED();
    return;
  }
  installStandIn(folder.path("nowhere/opera"));
  LinuxWorkspace::Options options;
  options.places.path = {folder.path("bin")};
  options.isWanted = [](const auto& application) { return application.applicationName == "Opera"; };
  start(std::move(options));
  for (std::size_t round = 1; round <= 5; ++round) {
    TestProcess process({folder.path("nowhere/opera"), "wait"});
    settle(10ms);
    process.end();
    ASSERT_TRUE(waitForQuits(round));
  }
}

TEST_F(QuittingApplications, areWantedAnewWhenTheSettingsChange) {
  std::filesystem::remove(bin("opera"));
  if (!platform::linux_::ProcessConnector::open(loop, [](pid_t) {})) return;
  installStandIn(folder.path("nowhere/opera"));
  bool wanted = false;
  LinuxWorkspace::Options options;
  options.places.path = {folder.path("bin")};
  options.isWanted = [&](const auto& application) { return wanted && application.applicationName == "Opera"; };
  options.wantedFile = folder.path("settings/file");
  start(std::move(options));
  wanted = true;
  folder.file("settings/file", "changed");
  settle();
  TestProcess process({folder.path("nowhere/opera"), "wait"});
  settle(20ms);
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

}  // namespace
