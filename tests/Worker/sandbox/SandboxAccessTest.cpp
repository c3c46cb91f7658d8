// Which folder a path is granted by, the home folder in paths, and what a refusal leaves behind.

#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "Worker/sandbox/Sandbox.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::WorkerTest;
using tidewell::Sandbox;

// checkForUserDirectory.

class UserDirectory : public WorkerTest {
 protected:
  UserDirectory() { platform.shared().insert_or_assign("userFolder", "/Users/ann"); }
};

TEST_F(UserDirectory, replacesALeadingTilde) {
  EXPECT_EQ(Sandbox::checkForUserDirectory("~/Library"), "/Users/ann/Library");
  EXPECT_EQ(Sandbox::checkForUserDirectory("~"), "/Users/ann");
}

TEST_F(UserDirectory, leavesOtherPathsAsTheyAre) {
  EXPECT_EQ(Sandbox::checkForUserDirectory("/tmp/x"), "/tmp/x");
  EXPECT_EQ(Sandbox::checkForUserDirectory("/tmp/~/x"), "/tmp/~/x");
  EXPECT_EQ(Sandbox::checkForUserDirectory(""), "");
  EXPECT_EQ(Sandbox::checkForUserDirectory(std::nullopt), std::nullopt);
}

TEST_F(UserDirectory, knowsNoOtherUsersHome) {
  EXPECT_EQ(Sandbox::checkForUserDirectory("~bob/x"), "/Users/annbob/x");
}

TEST_F(UserDirectory, isTheTextOfAnAbsentObjectWhenTheSettingIsMissing) {
  platform.shared().clear();
  EXPECT_EQ(Sandbox::checkForUserDirectory("~/x"), "(null)/x");
}

TEST_F(UserDirectory, isReadAfreshEachTime) {
  platform.shared().insert_or_assign("userFolder", "/Users/bob");
  EXPECT_EQ(Sandbox::checkForUserDirectory("~/x"), "/Users/bob/x");
  EXPECT_THAT(platform.journal.entriesAfter("suite "), ElementsAre(tidewell::kSharedSuite));
}

// access.

class SandboxAccess : public WorkerTest {
 protected:
  SandboxAccess() { useHome(); }
  std::vector<std::string> panels() const { return platform.journal.entriesAfter("panel "); }
};

TEST_F(SandboxAccess, asksForTheFolderItselfWhenItsParentHasFourOrFiveComponents) {
  Sandbox::access("~/Library/Safari");
  Sandbox::access("~/Library/Application Support/Chromium");
  EXPECT_THAT(panels(), ElementsAre(home("Library/Safari"), home("Library/Application Support/Chromium")));
}

TEST_F(SandboxAccess, asksForTheParentAtAnyOtherDepth) {
  Sandbox::access("~/Library/Application Support/Google/Chrome");
  Sandbox::access("~/Library/Caches/Google/Chrome/Default");
  Sandbox::access("~/Library");
  EXPECT_THAT(panels(), ElementsAre(home("Library/Application Support/Google"), home("Library/Caches/Google/Chrome"),
                                    platform.home.path()));
}

TEST_F(SandboxAccess, asksForAFolderFiveDeepItselfThoughItLiesBelowAnother) {
  // Its parent, …/Library/Safari, has five components.
  Sandbox::access("~/Library/Safari/LocalStorage");
  EXPECT_THAT(panels(), ElementsAre(home("Library/Safari/LocalStorage")));
}

TEST_F(SandboxAccess, toAnAbsentPathDoesNothing) {
  Sandbox::access(std::nullopt);
  EXPECT_THAT(platform.journal.entries(), IsEmpty());
}

TEST_F(SandboxAccess, usesNoQueue) {
  Sandbox::access("~/Library/Safari");
  EXPECT_THAT(platform.dispatch.labels(), IsEmpty());
}

TEST_F(SandboxAccess, recordsTheChoiceForLaterRuns) {
  platform.home.folder("Library/Safari");
  platform.openPanel.agreesToAll = true;
  Sandbox::access("~/Library/Safari");
  Sandbox::access("~/Library/Safari");
  EXPECT_THAT(panels(), SizeIs(1));
  EXPECT_TRUE(platform.own().contains("bd_file://" + home("Library/Safari") + "/"));
}

// Refusals: one line each, nothing changed, the empty result.

class DeniedOperation : public WorkerTest {
 protected:
  DeniedOperation() {
    useHome();
    platform.home.file("Library/a");
  }
  void expectOneLine() {
    EXPECT_THAT(platform.log.lines(), ElementsAre("Sandbox has denied access to " + home("Library/a")));
    EXPECT_EQ(platform.home.content("Library/a"), "content");
  }
};

TEST_F(DeniedOperation, remove) {
  Sandbox::remove("~/Library/a");
  EXPECT_THAT(platform.log.lines(), IsEmpty());
  platform.dispatch.runUntilIdle();
  expectOneLine();
}
TEST_F(DeniedOperation, access) {
  Sandbox::access("~/Library/a");
  expectOneLine();
}
TEST_F(DeniedOperation, contentsOf) {
  EXPECT_EQ(Sandbox::contentsOf("~/Library/a"), "");
  expectOneLine();
}
TEST_F(DeniedOperation, folderContentsOf) {
  EXPECT_THAT(Sandbox::folderContentsOf("~/Library/a"), IsEmpty());
  expectOneLine();
}
TEST_F(DeniedOperation, fileExists) {
  EXPECT_FALSE(Sandbox::fileExists("~/Library/a"));
  expectOneLine();
}
TEST_F(DeniedOperation, fileIsDirectory) {
  EXPECT_FALSE(Sandbox::fileIsDirectory("~/Library/a"));
  expectOneLine();
}
TEST_F(DeniedOperation, fileAttributes) {
  EXPECT_THAT(Sandbox::fileAttributes("~/Library/a"), IsEmpty());
  expectOneLine();
}
TEST_F(DeniedOperation, checkForScriptInFolder) {
  Sandbox::checkForScriptInFolder();
  EXPECT_THAT(platform.log.lines(),
              ElementsAre("Sandbox has denied access to " + home(".local/share/scripts/clearCookies.sh")));
}
TEST_F(DeniedOperation, removeFilesLogsOneLineForEach) {
  Sandbox::removeFiles(std::vector<std::string>{"~/Library/a", "~/Library/b"});
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.log.lines(), ElementsAre("Sandbox has denied access to " + home("Library/a"),
                                                "Sandbox has denied access to " + home("Library/b")));
}

// Recording.

TEST_F(SandboxAccess, recordsABookmarkOfThePathBeforeAskingForAccess) {
  platform.home.file("Library/a");
  platform.scopes.openForProcess(platform::FileURL(home("Library"), true));
  // The stored grant of the path itself does not help with the folder above it, which is asked for.
  EXPECT_FALSE(Sandbox::fileExists("~/Library/a"));
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre("bd_file://" + home("Library/a")));
  EXPECT_THAT(platform.log.lines(), SizeIs(1));
}

TEST_F(SandboxAccess, ofWhatWasNotGrantedIsNeverRecorded) {
  platform.home.file("Library/a");
  platform.elsewhere.file("b");
  Sandbox::fileExists("~/Library/a");
  Sandbox::contentsOf(platform.elsewhere.path("b"));
  Sandbox::access(platform.elsewhere.path("b"));
  EXPECT_THAT(platform.userDefaults.keys(""), IsEmpty());
}

}  // namespace
