// The panel that asks for a folder: what it shows, what can be chosen, and which answers are accepted.

#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate.h"
#include "tests/support/WorkerTest.h"

namespace {

using platform::FileURL;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::WorkerTest;
using tidewell::AppSandboxFileAccess;
using tidewell::AppSandboxFileAccessOpenSavePanelDelegate;

class AccessPanel : public WorkerTest {
 protected:
  bool accessTo(const std::string& path) {
    return access->accessFilePath_persistPermission_withBlock(path, true, [this] { ++ran; });
  }

  std::unique_ptr<AppSandboxFileAccess> access = AppSandboxFileAccess::fileAccess();
  int ran = 0;
};

TEST_F(AccessPanel, hasTheSettingsThatItNeeds) {
  platform.home.folder("Library");
  accessTo(home("Library"));
  ASSERT_THAT(platform.openPanel.shown(), SizeIs(1));
  const platform::OpenPanelSettings& panel = platform.openPanel.shown()[0];
  EXPECT_EQ(panel.title, "Allow Access");
  EXPECT_EQ(panel.message, "Tidewell needs to access this path to continue. Click Allow to continue.");
  EXPECT_EQ(panel.prompt, "Allow");
  EXPECT_FALSE(panel.canCreateDirectories);
  EXPECT_TRUE(panel.canChooseFiles);
  EXPECT_TRUE(panel.canChooseDirectories);
  EXPECT_FALSE(panel.allowsMultipleSelection);
  EXPECT_FALSE(panel.showsHiddenFiles);
  EXPECT_FALSE(panel.extensionHidden);
  EXPECT_EQ(panel.directoryURL.path(), home("Library"));
  EXPECT_EQ(panel.target.path(), home("Library"));
  EXPECT_EQ(platform.openPanel.activations(), 1U);
}

TEST_F(AccessPanel, comesToTheFrontBeforeItIsShown) {
  std::vector<std::string> before;
  platform.openPanel.whileShown = [&] { before = platform.journal.entriesAfter("activate"); };
  EXPECT_FALSE(access->askPermissionForURL(FileURL(home("Library"), true)));
  EXPECT_THAT(before, SizeIs(1));
}

TEST_F(AccessPanel, letsOnlyTheTargetAndTheFoldersAboveItBeChosen) {
  platform.home.folder("Library/Cookies");
  const FileURL target(home("Library/Safari/Databases"), true);  // missing: the panel opens at "Library"
  std::vector<std::string> enabled;
  platform.openPanel.whileShown = [&] {
    const platform::OpenPanelSettings panel = platform.openPanel.shown().back();
    ASSERT_NE(panel.delegate, nullptr);
    for (const char* below : {"Library/Safari/Databases", "Library/Safari", "Library", "Library/Cookies",
                              "Library/Safari/Databases/x", "Library/safari"}) {
      if (panel.delegate->panel_shouldEnableURL(panel, FileURL(home(below), true))) enabled.emplace_back(below);
    }
    platform.openPanel.whileShown = nullptr;
  };
  access->askPermissionForURL(target);
  EXPECT_THAT(enabled, ElementsAre("Library/Safari/Databases", "Library/Safari", "Library"));

  platform.openPanel.willChoose(home("Library/Cookies"));
  platform.openPanel.willChoose(home("Library"));
  EXPECT_EQ(access->askPermissionForURL(target)->path(), home("Library"));
}

TEST_F(AccessPanel, thatIsCancelledYieldsNothingThoughAFolderIsSelected) {
  platform.home.folder("Library");
  platform.openPanel.willCancelAt(home("Library"));
  EXPECT_FALSE(access->askPermissionForURL(FileURL(home("Library"), true)));
  platform.openPanel.willCancelAt(home("Library"));
  EXPECT_FALSE(accessTo(home("Library")));
  EXPECT_EQ(ran, 0);
  EXPECT_THAT(platform.userDefaults.keys(""), IsEmpty());
}

TEST_F(AccessPanel, offersNeverOnlyWhenTold) {
  bool isNever = false;
  accessTo(home("Library"));
  access->offerNever([&] { isNever = true; });
  platform.openPanel.willCancel();
  platform.openPanel.willSayNever();
  EXPECT_FALSE(accessTo(home("Library")));
  EXPECT_FALSE(isNever);
  EXPECT_FALSE(accessTo(home("Library")));
  EXPECT_TRUE(isNever);
  std::vector<bool> offered;
  for (const platform::OpenPanelSettings& panel : platform.openPanel.shown()) offered.push_back(panel.offersNever);
  EXPECT_THAT(offered, ElementsAre(false, true, true));
  EXPECT_EQ(ran, 0);
}

TEST_F(AccessPanel, opensAtTheNearestFolderThatExists) {
  platform.home.folder("Library");
  accessTo(home("Library/Application Support/Google"));
  accessTo("/no such folder/at all");
  accessTo("/~");
  EXPECT_EQ(platform.openPanel.shown()[0].directoryURL.path(), home("Library"));
  EXPECT_EQ(platform.openPanel.shown()[1].directoryURL.path(), "/");
  EXPECT_EQ(platform.openPanel.shown()[2].directoryURL.path(), "/");
}

TEST_F(AccessPanel, carriesTextsThatWereChanged) {
  access->setTitle("T");
  access->setMessage("M");
  access->setPrompt("P");
  accessTo(home("Library"));
  EXPECT_EQ(platform.openPanel.shown()[0].title, "T");
  EXPECT_EQ(platform.openPanel.shown()[0].message, "M");
  EXPECT_EQ(platform.openPanel.shown()[0].prompt, "P");
}

TEST_F(AccessPanel, runsOnTheMainThreadWhoeverAsks) {
  platform.home.folder("Library");
  platform.openPanel.agreesToAll = true;  // FakeOpenPanel throws on any other thread
  platform.dispatch.asBackgroundThread([this] { EXPECT_TRUE(accessTo(home("Library"))); });
  EXPECT_TRUE(accessTo(home("Library")));
  platform.own().clear();
  EXPECT_TRUE(accessTo(home("Library")));
  EXPECT_THAT(platform.journal.placesOf("panel "), ElementsAre("main", "main"));
}

TEST_F(AccessPanel, ruleEnablesTheTargetAndTheFoldersAboveIt) {
  AppSandboxFileAccessOpenSavePanelDelegate rule(FileURL("/Users/ann/Library/Safari", true));
  const auto enables = [&](const char* path) { return rule.panel_shouldEnableURL({}, FileURL(path, true)); };
  for (const char* path : {"/", "/Users", "/Users/ann", "/Users/ann/Library", "/Users/ann/Library/Safari"}) {
    EXPECT_TRUE(enables(path)) << path;
  }
  for (const char* path : {"/Users/ann/Library/Cookies", "/Users/ann/Library/Safari/Databases", "/Users/bob",
                           "/users/ann/Library", "/Users/ann/Library/Safari2", "/tmp"}) {
    EXPECT_FALSE(enables(path)) << path;
  }
}

TEST_F(AccessPanel, ruleCanBeSetByComponents) {
  AppSandboxFileAccessOpenSavePanelDelegate rule(FileURL("/a", true));
  EXPECT_THAT(rule.pathComponents(), ElementsAre("/", "a"));
  rule.setPathComponents({"/", "b", "c"});
  EXPECT_TRUE(rule.panel_shouldEnableURL({}, FileURL("/b", true)));
  EXPECT_FALSE(rule.panel_shouldEnableURL({}, FileURL("/a", true)));
}

}  // namespace
