// Safari's cookie script: asked for, installed, started.

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::GrantedHomeTest;
using tidewell::WorkerAppDelegate;

constexpr char kFolder[] = ".local/share/scripts";
constexpr char kScript[] = ".local/share/scripts/clearCookies.sh";

class CookieScript : public GrantedHomeTest {
 protected:
  CookieScript() {
    ::chmod(platform.home.file("bundle/clearCookies.sh", "#!/bin/sh\n").c_str(), 0755);
    platform.bundle.resources["clearCookies.sh"] = home("bundle/clearCookies.sh");
    platform.home.folder(kFolder);
  }
  void execute() {
    worker->executeScript();
    platform.dispatch.advance(std::chrono::seconds(1));
  }
  std::vector<std::string> panels() const { return platform.journal.entriesAfter("panel "); }
  std::vector<std::string> started() const { return platform.journal.entriesAfter("script "); }

  std::shared_ptr<WorkerAppDelegate> worker = makeWorker();
};

TEST_F(CookieScript, thatIsInstalledIsStartedOnceWithoutAPanel) {
  ::chmod(platform.home.file(kScript).c_str(), 0755);
  execute();
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(started(), ElementsAre(home(kScript)));
}

TEST_F(CookieScript, thatIsMissingIsCopiedWhereThePersonConfirmsAndThenStarted) {
  platform.shared().insert_or_assign("NSNavLastRootDirectory", "/somewhere");
  platform.openPanel.willChoose(home(kFolder));
  execute();
  EXPECT_THAT(panels(), SizeIs(1));
  EXPECT_EQ(platform.home.content(kScript), "#!/bin/sh\n");
  EXPECT_FALSE(platform.shared().contains("NSNavLastRootDirectory"));
  EXPECT_THAT(started(), ElementsAre(home(kScript)));
}

TEST_F(CookieScript, panelConfirmsTheScriptsFolder) {
  platform.openPanel.willCancel();
  WorkerAppDelegate::checkCookieScript();
  ASSERT_THAT(platform.openPanel.shown(), SizeIs(1));
  const platform::OpenPanelSettings& panel = platform.openPanel.shown()[0];
  EXPECT_EQ(panel.title, "Save Script");
  EXPECT_EQ(panel.prompt, "Save");
  EXPECT_EQ(panel.message,
            "Tidewell needs to save a file to this path to remove Safari cookies. Click Save to continue.");
  EXPECT_EQ(panel.directoryURL.path(), home(kFolder));
  EXPECT_TRUE(panel.canChooseDirectories);
  EXPECT_FALSE(panel.canChooseFiles);
  EXPECT_FALSE(panel.allowsMultipleSelection);
  EXPECT_FALSE(panel.canCreateDirectories);
  EXPECT_FALSE(panel.showsHiddenFiles);
  EXPECT_FALSE(panel.extensionHidden);
  EXPECT_EQ(panel.target.path(), home(kFolder));
  EXPECT_EQ(platform.openPanel.activations(), 1U);
}

TEST_F(CookieScript, panelComesToTheFrontBeforeItIsShown) {
  std::vector<std::string> before;
  platform.openPanel.whileShown = [&] { before = platform.journal.entriesAfter("activate"); };
  WorkerAppDelegate::checkCookieScript();
  EXPECT_THAT(before, SizeIs(1));
}

TEST_F(CookieScript, panelIsTranslated) {
  platform.bundle.translations = {
      {"Save Script", "Skript sichern"},
      {"Save", "Sichern"},
      {"Tidewell needs to save a file to this path to remove Safari cookies. Click Save to continue.", "Bitte!"}};
  WorkerAppDelegate::checkCookieScript();
  ASSERT_THAT(platform.openPanel.shown(), SizeIs(1));
  EXPECT_EQ(platform.openPanel.shown()[0].title, "Skript sichern");
  EXPECT_EQ(platform.openPanel.shown()[0].prompt, "Sichern");
  EXPECT_EQ(platform.openPanel.shown()[0].message, "Bitte!");
}

TEST_F(CookieScript, panelLetsOnlyTheScriptsFolderAndThoseAboveItBeChosen) {
  std::vector<std::string> enabled;
  platform.openPanel.whileShown = [&] {
    const platform::OpenPanelSettings panel = platform.openPanel.shown().back();
    ASSERT_NE(panel.delegate, nullptr);
    for (const std::string& below :
         {std::string(kFolder), std::string(".local/share"), std::string(".local/share/other"),
          std::string(".local/share/Scripts"), std::string(kFolder) + "/below", std::string("Library")}) {
      if (panel.delegate->panel_shouldEnableURL(panel, platform::FileURL(home(below), true))) enabled.push_back(below);
    }
  };
  WorkerAppDelegate::checkCookieScript();
  EXPECT_THAT(enabled, ElementsAre(kFolder, ".local/share"));
}

TEST_F(CookieScript, panelIsShownOnTheMainThreadWhoeverAsksAndWaitedFor) {
  platform.dispatch.asBackgroundThread([] { WorkerAppDelegate::checkCookieScript(); });
  EXPECT_THAT(panels(), SizeIs(1));
  EXPECT_THAT(platform.journal.placesOf("panel "), ElementsAre("main"));
}

TEST_F(CookieScript, folderIsMadeWhenItIsMissing) {
  std::filesystem::remove(home(kFolder));
  WorkerAppDelegate::checkCookieScript();
  EXPECT_THAT(panels(), ElementsAre(home(kFolder)));
  EXPECT_TRUE(platform.home.exists(kFolder));
}

TEST_F(CookieScript, whoseFolderCanNotBeMadeIsNotAskedForAndNotLogged) {
  std::filesystem::remove(home(kFolder));
  platform.home.file(kFolder, "in its place");
  WorkerAppDelegate::checkCookieScript();
  EXPECT_EQ(worker->scriptTask(), nullptr);
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(CookieScript, isNotInstalledWhereThePersonCancelsThoughTheFolderIsSelected) {
  platform.shared().insert_or_assign("NSNavLastRootDirectory", "/somewhere");
  platform.openPanel.willCancelAt(home(kFolder));
  WorkerAppDelegate::checkCookieScript();
  platform.dispatch.advance(std::chrono::seconds(1));
  EXPECT_THAT(panels(), SizeIs(1));
  EXPECT_FALSE(platform.home.exists(kScript));
  EXPECT_TRUE(platform.shared().contains("NSNavLastRootDirectory"));
}

TEST_F(CookieScript, isAskedForAgainWhenAnotherFolderWasChosen) {
  platform.openPanel.willChoose(platform.home.path());
  platform.openPanel.willChoose(home(kFolder));
  WorkerAppDelegate::checkCookieScript();
  EXPECT_THAT(panels(), SizeIs(1));  // not before the next turn of the main thread
  EXPECT_THAT(platform.journal.entriesAfter("after "), ElementsAre("0 ns on main"));
  const auto expectNothingInstalled = [this] {
    EXPECT_FALSE(platform.home.exists(kScript));
    EXPECT_FALSE(platform.home.exists("clearCookies.sh"));
  };
  expectNothingInstalled();
  platform.openPanel.whileShown = expectNothingInstalled;
  platform.dispatch.advance(std::chrono::seconds(0));
  EXPECT_THAT(panels(), SizeIs(2));
  EXPECT_TRUE(platform.home.exists(kScript));
  EXPECT_FALSE(platform.home.exists("clearCookies.sh"));
}

TEST_F(CookieScript, isNotAskedForAgainWhenThePersonCancels) {
  platform.openPanel.willCancel();
  execute();
  EXPECT_THAT(panels(), SizeIs(1));
  EXPECT_THAT(started(), IsEmpty());
  EXPECT_THAT(platform.log.lines(), ElementsAre("-[WorkerAppDelegate(WorkerScripts) scriptTask] no Script task error = "
                                                "No such file or directory"));
  execute();  // the next cleaning asks again
  EXPECT_THAT(panels(), SizeIs(2));
}

TEST_F(CookieScript, thatIsThereAlreadyIsKept) {
  platform.home.file(kScript, "the person's own");
  platform.shared().insert_or_assign("NSNavLastRootDirectory", "/somewhere");
  platform.openPanel.willChoose(home(kFolder));
  WorkerAppDelegate::checkCookieScript();
  platform.dispatch.advance(std::chrono::seconds(1));
  EXPECT_THAT(panels(), SizeIs(1));
  EXPECT_EQ(platform.home.content(kScript), "the person's own");
  EXPECT_TRUE(platform.shared().contains("NSNavLastRootDirectory"));
}

TEST_F(CookieScript, isAskedForAgainWhenTheCopyFailsOtherwise) {
  platform.shared().insert_or_assign("NSNavLastRootDirectory", "/somewhere");
  platform.bundle.resources.clear();
  platform.openPanel.willChoose(home(kFolder));
  platform.openPanel.willCancel();
  WorkerAppDelegate::checkCookieScript();
  EXPECT_THAT(panels(), SizeIs(1));
  platform.dispatch.advance(std::chrono::seconds(1));
  EXPECT_THAT(panels(), SizeIs(2));
  EXPECT_TRUE(platform.shared().contains("NSNavLastRootDirectory"));
}

TEST_F(CookieScript, thatCanNotBeExecutedIsLogged) {
  platform.home.file(kScript);
  EXPECT_EQ(worker->scriptTask(), nullptr);
  EXPECT_THAT(platform.log.lines(),
              ElementsAre("-[WorkerAppDelegate(WorkerScripts) scriptTask] no Script task error = Permission denied"));
}

TEST_F(CookieScript, isCheckedForOnTheMainThreadWhoeverAsks) {
  platform.openPanel.willChoose(home(kFolder));  // FakeOpenPanel throws on any other thread
  platform.dispatch.asBackgroundThread([] { WorkerAppDelegate::checkCookieScript(); });
  EXPECT_TRUE(platform.home.exists(kScript));
}

TEST_F(CookieScript, keepsItsPermissionToBeExecuted) {
  platform.openPanel.willChoose(home(kFolder));
  WorkerAppDelegate::checkCookieScript();
  struct stat status {};
  ASSERT_EQ(::stat(home(kScript).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0111, 0111U);
}

}  // namespace
