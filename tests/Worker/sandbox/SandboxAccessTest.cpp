// Which folder's grant a path needs, the home folder in paths, and the effects of a refusal.

#include <functional>
#include <map>

#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "Worker/sandbox/Sandbox.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::AllOf;
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
  EXPECT_EQ(Sandbox::checkForUserDirectory("~/x"), "/Users/ann/x");
  platform.shared().insert_or_assign("userFolder", "/Users/bob");
  EXPECT_EQ(Sandbox::checkForUserDirectory("~/x"), "/Users/bob/x");
  const std::string suite = "7QX2LM9PDA.com.emberlinestudio.Tidewell";
  EXPECT_THAT(platform.journal.entriesAfter("suite "), ElementsAre(suite, suite));
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

// Refusals: one line in the log each, no change, and the empty result.

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
  EXPECT_TRUE(platform.home.exists(".local/share/scripts"));  // created, so that the panel can ask for it
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

/// Every operation on a path, by its name.
const std::map<std::string, std::function<void(const std::string& path)>> kOperations = {
    {"access", [](const std::string& path) { Sandbox::access(path); }},
    {"remove", [](const std::string& path) { Sandbox::remove(path); }},
    {"removeFiles", [](const std::string& path) { Sandbox::removeFiles(std::vector<std::string>{path}); }},
    {"contentsOf", [](const std::string& path) { Sandbox::contentsOf(path); }},
    {"folderContentsOf", [](const std::string& path) { Sandbox::folderContentsOf(path); }},
    {"fileExists", [](const std::string& path) { Sandbox::fileExists(path); }},
    {"fileIsDirectory", [](const std::string& path) { Sandbox::fileIsDirectory(path); }},
    {"fileAttributes", [](const std::string& path) { Sandbox::fileAttributes(path); }},
    {"runSql", [](const std::string& path) { Sandbox::runSql_onfile("SELECT 1;", path); }},
    {"returnArrayFromSql", [](const std::string& path) { Sandbox::returnArrayFromSql_onfile("SELECT 1;", path); }}};

TEST_F(SandboxAccess, recordsABookmarkOfThePathWhateverTheOperationBeforeAnyPanel) {
  platform.home.file("Library/a");
  platform.scopes.openForProcess(platform::FileURL(home("Library"), true));
  const std::string key = "bd_file://" + home("Library/a");
  for (const auto& [name, operation] : kOperations) {
    platform.own().clear();
    std::vector<bool> wasThere;
    platform.openPanel.whileShown = [&] { wasThere.push_back(platform.own().contains(key)); };
    operation("~/Library/a");
    EXPECT_TRUE(platform.own().contains(key)) << name;  // at once, even if the work is done later
    platform.dispatch.runUntilIdle();
    EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre(key)) << name;
    // access() asks for the path itself, for which this bookmark is enough.
    EXPECT_THAT(wasThere, AllOf(Each(true), SizeIs(name == "access" ? 0 : 1))) << name;
  }
}

TEST_F(SandboxAccess, asksForNoPanelWhereTheBookmarkThatItRecordsIsEnough) {
  platform.home.folder("Library/Safari");
  platform.scopes.openForProcess(platform::FileURL(home("Library"), true));
  Sandbox::access("~/Library/Safari");
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre("bd_file://" + home("Library/Safari") + "/"));
}

TEST_F(SandboxAccess, recordsABookmarkOfTheScriptThatIsCheckedFor) {
  platform.home.file(".local/share/scripts/clearCookies.sh");
  platform.scopes.openForProcess(platform::FileURL(home(".local/share/scripts"), true));
  Sandbox::checkForScriptInFolder();
  EXPECT_THAT(panels(), ElementsAre(home(".local/share/scripts")));  // no grant of this folder is stored
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre("bd_file://" + home(".local/share/scripts/clearCookies.sh")));
}

TEST_F(SandboxAccess, isKeptAsThePersonGaveItWhateverTheOperation) {
  platform.home.file("Library/a");
  const std::string key = "bd_file://" + platform.home.path() + "/";
  for (const auto& [name, operation] : kOperations) {
    platform.own().clear();
    platform.openPanel.willChoose(platform.home.path());
    operation("~/Library/missing");
    platform.dispatch.runUntilIdle();
    EXPECT_TRUE(platform.own().contains(key)) << name;
  }
}

TEST_F(SandboxAccess, isAskedForTheParentByEveryOtherOperationAlsoOnAFolder) {
  platform.home.folder("Library/Safari");
  for (const auto& [name, operation] : kOperations) {
    if (name == "access") continue;
    platform.journal.clear();
    operation("~/Library/Safari");
    platform.dispatch.runUntilIdle();
    EXPECT_THAT(panels(), ElementsAre(home("Library"))) << name;
  }
}

TEST_F(SandboxAccess, runsOnTheCallersThreadAndEveryOtherOperationOnAQueueOfItsOwn) {
  platform.home.folder("Library/Safari");
  for (const auto& [name, operation] : kOperations) {
    platform.journal.clear();
    platform.dispatch.asBackgroundThread([&, &call = operation] {
      call("~/Library/Safari");
      call("~/Library/Safari");
    });
    platform.dispatch.runUntilIdle();
    const std::size_t queues = name == "access" ? 0 : 2;
    EXPECT_THAT(platform.journal.placesOf("queue com.emberlinestudio.com.TidewellWorker.task"), SizeIs(queues)) << name;
    EXPECT_THAT(platform.journal.placesOf("queue "), AllOf(SizeIs(queues), Each("background"))) << name;
    EXPECT_THAT(platform.journal.placesOf("panel "), AllOf(SizeIs(2), Each("main"))) << name;
  }
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
