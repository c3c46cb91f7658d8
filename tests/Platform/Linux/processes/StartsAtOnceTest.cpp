// Quits of applications that were installed or started at the moment when the workspace began to watch.

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/support/HeldStart.h"
#include "tests/support/WatchMoments.h"
#include "tests/support/WorkspaceTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::BeforeWatching;
using testing_support::HeldStart;
using testing_support::installStandIn;
using testing_support::isWatched;
using testing_support::QuittingApplications;

/// Calls a function once, before `folder` is watched.
BeforeWatching once(const std::string& folder, std::function<void()> task) {
  return BeforeWatching([folder, task = std::move(task)](const std::string& path) mutable {
    if (path == folder && task) std::exchange(task, nullptr)();
  });
}

TEST_F(QuittingApplications, mayBeInstalledBetweenTheLookAndTheWatch) {
  std::filesystem::remove(bin("opera"));
  const BeforeWatching moment = once(folder.path("bin"), [this] { installStandIn(bin("opera")); });
  start();
  EXPECT_TRUE(isWatched(bin("opera")));
}

TEST_F(QuittingApplications, mayBeInstalledInAFolderThatIsMadeBetweenTheLookAndTheWatch) {
  const BeforeWatching moment = once(folder.path(), [this] { installStandIn(folder.path("elsewhere/opera")); });
  start();
  EXPECT_TRUE(isWatched(folder.path("elsewhere/opera")));
}

TEST_F(QuittingApplications, mayBeReplacedBetweenTheLookAndTheWatch) {
  const BeforeWatching moment = once(bin("opera"), [this] { installStandIn(bin("opera")); });
  start();
  EXPECT_TRUE(isWatched(bin("opera")));
}

TEST_F(QuittingApplications, mayBeInstalledWhileWeLookAfterAnotherWasInstalled) {
  std::filesystem::remove(bin("opera"));
  std::filesystem::remove(bin("chrome"));
  start();
  const BeforeWatching moment = once(bin("chrome"), [this] { installStandIn(folder.path("snap/7/chrome")); });
  installStandIn(bin("chrome"));
  settle();
  EXPECT_TRUE(isWatched(bin("chrome")));
  EXPECT_TRUE(isWatched(folder.path("snap/7/chrome")));
}

TEST_F(QuittingApplications, areLookedForOnlySoOftenWhileTheirFoldersKeepChanging) {
  int changes = 0;
  const BeforeWatching moment([&](const std::string& path) {
    if (path != folder.path("bin")) return;
    const bool isThere = std::filesystem::remove(bin("opera"));
    if (!isThere) installStandIn(bin("opera"));
    ASSERT_LT(++changes, 1000);
  });
  start();
  EXPECT_GT(changes, 1);
}

TEST_F(QuittingApplications, mayBeMadeExecutableAfterTheyWereWritten) {
  std::filesystem::remove(bin("opera"));
  std::filesystem::copy_file(bin("firefox"), folder.path("program"));
  ::chmod(folder.path("program").c_str(), 0600);
  start();
  std::filesystem::rename(folder.path("program"), bin("opera"));
  settle();
  ::chmod(bin("opera").c_str(), 0755);
  settle(3200ms);  // longer than the checks after each change go on
  run("opera").end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBeWrittenAfterTheyWereMade) {
  const std::string program = folder.path("v1/the-real-name");
  std::filesystem::remove(bin("opera"));
  std::filesystem::create_directory(folder.path("v1"));
  std::ofstream file(program, std::ios::binary);
  ::chmod(program.c_str(), 0755);
  std::filesystem::create_symlink(program, bin("opera"));
  start();
  file << std::ifstream(bin("firefox"), std::ios::binary).rdbuf();
  file.close();
  settle();
  run("opera").end();
  ASSERT_TRUE(waitForQuits(1));
}

// Only root can hold a start, so these tests check nothing when an ordinary user runs them.

using HeldApplications = QuittingApplications;

TEST_F(HeldApplications, thatWereOpenedAndHaveNotBecomeTheirProgramWhenWeStartAreNotMissed) {
  if (!HeldStart::isAllowed()) return;
  HeldStart browser(bin("opera"));
  start();
  browser.release();
  settle(1s);
  browser.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(quits, ElementsAre("Opera"));
}

TEST_F(HeldApplications, thatAreHeldForLongAfterTheyWereOpenedAreNotMissed) {
  if (!HeldStart::isAllowed()) return;
  start();
  HeldStart browser(bin("opera"));
  settle(1s);
  EXPECT_THAT(quits, IsEmpty());
  browser.release();
  settle(2500ms);
  browser.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(HeldApplications, thatStartAgainInTheMomentOfTheirQuitAreNotMissed) {
  if (!HeldStart::isAllowed()) return;
  start();
  testing_support::TestProcess first = run("opera");
  HeldStart second(bin("opera"));
  first.end();
  ASSERT_TRUE(waitForQuits(1));
  settle(300ms);
  second.release();
  settle(1s);
  second.end();
  ASSERT_TRUE(waitForQuits(2));
}

}  // namespace
