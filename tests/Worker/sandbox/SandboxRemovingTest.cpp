// Removing, with and without overwriting.

#include <sys/stat.h>

#include "Worker/sandbox/Sandbox.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using testing_support::GrantedHomeTest;
using tidewell::Sandbox;

class SandboxRemove : public GrantedHomeTest {
 protected:
  void overwrite(bool on) { platform.shared().insert_or_assign("secureDeleteData", on); }
  void remove(const std::string& path) {
    Sandbox::remove(path);
    platform.dispatch.runUntilIdle();
  }
};

TEST_F(SandboxRemove, returnsBeforeTheFileIsGone) {
  platform.home.file("a");
  Sandbox::remove("~/a");
  EXPECT_TRUE(platform.home.exists("a"));
  EXPECT_TRUE(Sandbox::fileExists("~/a"));
  platform.dispatch.runUntilIdle();
  EXPECT_FALSE(platform.home.exists("a"));
}

TEST_F(SandboxRemove, removesOnItsQueueAndNotOnTheMainThread) {
  platform.home.file("a");
  Sandbox::remove("~/a");
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 0U);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.placesOf("remove "), ElementsAre("com.emberlinestudio.com.TidewellWorker.task"));
}

TEST_F(SandboxRemove, takesFilesAndWholeFoldersAlike) {
  platform.home.file("file");
  platform.home.file("folder/sub/a");
  platform.home.file("folder/.hidden");
  remove("~/file");
  remove("~/folder");
  EXPECT_FALSE(platform.home.exists("file"));
  EXPECT_FALSE(platform.home.exists("folder"));
}

TEST_F(SandboxRemove, takesALinkAndNotWhatItLeadsTo) {
  platform.home.file("folder/a");
  platform.home.link("link", home("folder"));
  remove("~/link");
  EXPECT_FALSE(platform.home.exists("link"));
  EXPECT_TRUE(platform.home.exists("folder/a"));
}

TEST_F(SandboxRemove, ofAMissingItemIsSilent) {
  remove("~/missing");
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(SandboxRemove, ofAnAbsentPathDoesNothing) {
  Sandbox::remove(std::nullopt);
  Sandbox::removeFiles(std::nullopt);
  EXPECT_THAT(platform.journal.entries(), IsEmpty());
  EXPECT_THAT(platform.dispatch.labels(), IsEmpty());
}

TEST_F(SandboxRemove, doesNotOverwriteUnlessAsked) {
  platform.home.file("a", "12345");
  remove("~/a");
  EXPECT_FALSE(platform.home.exists("a"));
  EXPECT_THAT(platform.journal.entriesAfter("open "), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("write "), IsEmpty());
}

TEST_F(SandboxRemove, overwritesThreeTimesFirstWhenAsked) {
  overwrite(true);
  platform.home.file("a", "12345");
  remove("~/a");
  EXPECT_FALSE(platform.home.exists("a"));
  EXPECT_THAT(platform.journal.entriesAfter("write "), ElementsAre("5", "5", "5"));
  EXPECT_THAT(platform.journal.entries(), Contains("remove overwritten " + home("a")));
}

TEST_F(SandboxRemove, leavesAnItemThatCouldNotBeOverwritten) {
  overwrite(true);
  platform.home.file("a");
  platform.system.closeFails = true;
  remove("~/a");
  EXPECT_TRUE(platform.home.exists("a"));
  EXPECT_THAT(platform.removals(), IsEmpty());
}

TEST_F(SandboxRemove, leavesAFileThatCanNotBeOpenedForWriting) {
  overwrite(true);
  ::chmod(platform.home.file("a").c_str(), 0444);
  {
    const testing_support::OrdinaryUser user(platform.home.path());
    remove("~/a");
    EXPECT_TRUE(platform.home.exists("a"));
    overwrite(false);
    remove("~/a");  // a plain removal doesn't need the file to be writable
  }
  EXPECT_FALSE(platform.home.exists("a"));
}

TEST_F(SandboxRemove, usesTheSettingAsItWasWhenCalled) {
  platform.home.file("a", "12345");
  overwrite(true);
  Sandbox::remove("~/a");
  overwrite(false);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("write "), ElementsAre("5", "5", "5"));

  platform.home.file("b", "12345");
  Sandbox::remove("~/b");
  overwrite(true);
  platform.journal.clear();
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("write "), IsEmpty());
}

TEST_F(SandboxRemove, takesASettingOfAnotherTypeAsOff) {
  platform.shared().insert_or_assign("secureDeleteData", 1);
  platform.home.file("a", "12345");
  remove("~/a");
  EXPECT_THAT(platform.journal.entriesAfter("write "), IsEmpty());
  EXPECT_FALSE(platform.home.exists("a"));
}

TEST_F(SandboxRemove, ofAFolderWithOverwritingRemovesItWithoutOverwriting) {
  overwrite(true);
  platform.home.file("folder/a", "12345");
  remove("~/folder");
  EXPECT_FALSE(platform.home.exists("folder"));
  EXPECT_THAT(platform.journal.entriesAfter("write "), IsEmpty());
}

TEST_F(SandboxRemove, removeFilesGoesInOrderWithAQueueForEach) {
  for (const char* name : {"c", "a", "b"}) platform.home.file(name);
  Sandbox::removeFiles(std::vector<std::string>{"~/c", "~/a", "~/missing", "~/b"});
  EXPECT_THAT(platform.dispatch.labels(), ::testing::SizeIs(4));
  EXPECT_TRUE(platform.home.exists("c"));
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.removals(), ElementsAre("c", "a", "missing", "b"));
  EXPECT_THAT(platform.home.tree(), ElementsAre("Library/"));
}

// Attacks.

TEST_F(SandboxRemove, doesNotFollowALinkThatLeadsOutOfTheGrant) {
  platform.elsewhere.file("keep/a");
  platform.home.link("out", platform.elsewhere.path("keep"));
  remove("~/out/a");
  EXPECT_TRUE(platform.elsewhere.exists("keep/a"));
}

TEST_F(SandboxRemove, doesNotOverwriteThroughALinkThatLeadsOutOfTheGrant) {
  overwrite(true);
  platform.elsewhere.file("keep", "precious");
  platform.home.link("out", platform.elsewhere.path("keep"));
  remove("~/out");
  EXPECT_EQ(platform.elsewhere.content("keep"), "precious");
}

TEST_F(SandboxRemove, reachesNothingOutsideThroughDotDot) {
  platform.elsewhere.file("keep");
  remove("~/../../" + platform.elsewhere.path("keep"));
  remove("~/..");
  EXPECT_TRUE(platform.elsewhere.exists("keep"));
  EXPECT_TRUE(platform.home.exists(""));
}

TEST_F(SandboxRemove, ofAGrantedFolderItselfNeedsTheFolderAboveIt) {
  remove("~");
  EXPECT_TRUE(platform.home.exists(""));
  EXPECT_THAT(platform.log.lines(), ElementsAre("Sandbox has denied access to " + platform.home.path()));
}

TEST_F(SandboxRemove, ofAPathWithANulByteRemovesNothing) {
  platform.home.file("a");
  remove(std::string("~/a\0b", 5));
  EXPECT_TRUE(platform.home.exists("a"));
}

}  // namespace
