// The request for a browser's grants on a home without a Library.

#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;
using Texts = std::vector<std::string>;

class LinuxAccess : public LinuxHomeTest {
 protected:
  /// Makes a request; returns the folders of its panels.
  Texts asked(std::string_view name) {
    platform.journal.clear();
    const std::string identifier(browser(name).bundleIdentifier);
    const std::size_t before = answers.size();
    worker->answerFrom_reply(identifier, [this](const std::string& text) { answers.push_back(text); });
    platform.dispatch.runUntilIdle();
    EXPECT_EQ(answers.size(), before + 1);
    EXPECT_EQ(answers.empty() ? "" : answers.back(), "bookmarked: " + identifier + " ");
    return panels();
  }

  /// Makes a profile of Firefox outside of its data folder.
  std::string makeProfileElsewhere() {
    platform.home.file(".mozilla/firefox/profiles.ini",
                       "[Profile0]\nIsRelative=0\nPath=" + home("Disk/ann.apart") + "\n");
    platform.home.file("Disk/ann.apart/times.json");
    return home("Disk/ann.apart");
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
  Texts answers;
};

TEST_F(LinuxAccess, asksForNothingWhereNothingIs) {
  for (const char* name : {"Safari", "Firefox", "Google Chrome", "Chromium", "Opera"}) {
    EXPECT_THAT(asked(name), IsEmpty()) << name;
  }
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(LinuxAccess, asksForEachFolderThatExistsOnceDataBeforeCaches) {
  testing_support::fillLinuxSampleHome(platform.home);
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Chromium"),
              ElementsAre(".config/chromium", ".cache/chromium", ".var/app/org.chromium.Chromium/config/chromium",
                          ".var/app/org.chromium.Chromium/cache/chromium", "snap/chromium/common/chromium",
                          "snap/chromium/common/.cache/chromium", ".macromedia", ".adobe"));
  EXPECT_THAT(asked("Google Chrome"),
              ElementsAre(".config/google-chrome", ".cache/google-chrome", ".config/google-chrome-beta",
                          ".cache/google-chrome-beta", ".var/app/com.google.Chrome/config/google-chrome",
                          ".var/app/com.google.Chrome/cache/google-chrome"));
  EXPECT_THAT(asked("Opera"), ElementsAre(".config/opera", ".cache/opera", ".var/app/com.opera.Opera/config/opera",
                                          ".var/app/com.opera.Opera/cache/opera"));
  EXPECT_THAT(asked("Firefox"),
              ElementsAre(".config/mozilla/firefox", ".cache/mozilla/firefox", ".mozilla/firefox",
                          ".var/app/org.mozilla.firefox/.mozilla/firefox",
                          ".var/app/org.mozilla.firefox/cache/mozilla/firefox", "snap/firefox/common/.mozilla/firefox",
                          "snap/firefox/common/.cache/mozilla/firefox", "Disk/ann.apart"));
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(LinuxAccess, asksForNothingThatIsGranted) {
  testing_support::fillLinuxSampleHome(platform.home);
  platform.openPanel.agreesToAll = true;
  for (const char* name : {"Firefox", "Google Chrome", "Chromium", "Opera"}) {
    asked(name);
    EXPECT_THAT(asked(name), IsEmpty()) << name;
  }
}

TEST_F(LinuxAccess, asksForWhatWasRefusedOnlyInTheNextRequest) {
  platform.home.file(".config/chromium/Local State");
  platform.home.folder(".cache/chromium");
  platform.home.folder(".adobe");
  const Texts all = {".config/chromium", ".cache/chromium", ".adobe"};
  EXPECT_THAT(asked("Chromium"), ElementsAreArray(all));
  EXPECT_THAT(platform.log.lines(), ElementsAre("Sandbox has denied access to " + home(".config/chromium"),
                                                "Sandbox has denied access to " + home(".cache/chromium"),
                                                "Sandbox has denied access to " + home(".adobe")));
  EXPECT_THAT(asked("Chromium"), ElementsAreArray(all));
  platform.openPanel.willCancel();
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Chromium"), ElementsAreArray(all));
  EXPECT_THAT(asked("Chromium"), ElementsAre(".config/chromium"));
}

TEST_F(LinuxAccess, forAFolderAboveServesWhatIsInIt) {
  testing_support::fillLinuxSampleHome(platform.home);
  platform.openPanel.willChoose(home(".config"));
  platform.openPanel.willChoose(platform.home.path());
  EXPECT_THAT(asked("Chromium"), ElementsAre(".config/chromium", ".cache/chromium"));
}

TEST_F(LinuxAccess, ofSafariAsksForNothingAndInstallsNoScript) {
  testing_support::fillLinuxSampleHome(platform.home);
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Safari"), IsEmpty());
  EXPECT_FALSE(platform.home.exists(".local/share/scripts"));
}

TEST_F(LinuxAccess, asksForAProfileElsewhereOnceTheListCanBeRead) {
  makeProfileElsewhere();
  platform.home.folder(".cache/mozilla/firefox");
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Firefox"), ElementsAre(".mozilla/firefox", ".cache/mozilla/firefox", "Disk/ann.apart"));
}

TEST_F(LinuxAccess, asksForNoProfileElsewhereWhenTheListMayNotBeRead) {
  makeProfileElsewhere();
  platform.openPanel.willCancel();
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Firefox"), ElementsAre(".mozilla/firefox"));
  EXPECT_THAT(asked("Firefox"), ElementsAre(".mozilla/firefox", "Disk/ann.apart"));
}

TEST_F(LinuxAccess, asksForNoProfileElsewhereThatIsNotThere) {
  std::filesystem::remove_all(makeProfileElsewhere());
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Firefox"), ElementsAre(".mozilla/firefox"));
}

TEST_F(LinuxAccess, asksForWhatTheRunOfAProfileElsewhereNeeds) {
  makeProfileElsewhere();
  platform.home.file("Disk/ann.apart/cookies.sqlite");
  platform.home.file("Disk/ann.apart/storage/default/https+++a.test/x");
  platform.openPanel.agreesToAll = true;
  asked("Firefox");
  platform.journal.clear();
  quit("Firefox");
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(platform.home.tree("Disk/ann.apart"), ElementsAre("storage/", "storage/default/", "times.json: content"));
}

TEST_F(LinuxAccess, leadsTheRunThroughWhatWasGrantedAlone) {
  testing_support::fillLinuxSampleHome(platform.home);
  for (const char* name : {"Firefox", "Google Chrome", "Chromium", "Opera"}) {
    platform.openPanel.agreesToAll = true;
    asked(name);
    platform.journal.clear();
    quit(name);
    EXPECT_THAT(panels(), IsEmpty()) << name;
  }
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(LinuxAccess, isMadeUpForOnceAfterEachQuit) {
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Default/Preferences", "{}");
  platform.home.file(".config/chromium/Default/Cookies");
  platform.home.folder(".cache/chromium/Default/Cache");
  platform.home.folder(".macromedia");
  quit("Chromium");  // all folders are refused, and not asked for again after the second run
  const Texts all = {".config/chromium", ".cache/chromium", ".macromedia"};
  EXPECT_THAT(panels(), ElementsAreArray(all));
  EXPECT_EQ(platform.log.lines().size(), all.size());
  EXPECT_TRUE(platform.home.exists(".config/chromium/Default/Cookies"));

  platform.journal.clear();
  platform.openPanel.willCancel();
  platform.openPanel.agreesToAll = true;
  quit("Chromium");  // the first folder is refused once more
  EXPECT_THAT(panels(), ElementsAreArray(all));
  EXPECT_TRUE(platform.home.exists(".config/chromium/Default/Cookies"));
  platform.journal.clear();
  quit("Chromium");
  EXPECT_THAT(panels(), ElementsAre(all[0]));
  EXPECT_FALSE(platform.home.exists(".config/chromium/Default/Cookies"));
  EXPECT_FALSE(platform.home.exists(".cache/chromium/Default/Cache"));
  platform.journal.clear();
  quit("Chromium");
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(LinuxAccess, asksOnceForAFolderWithTwoNames) {
  platform.home.folder(".config/mozilla/firefox");
  platform.home.link(".mozilla", ".config/mozilla");
  EXPECT_THAT(asked("Firefox"), ElementsAre(".config/mozilla/firefox"));
  platform.openPanel.agreesToAll = true;
  EXPECT_THAT(asked("Firefox"), ElementsAre(".config/mozilla/firefox"));
  EXPECT_THAT(asked("Firefox"), IsEmpty());
}

TEST_F(LinuxAccess, isTheOldOneOnAHomeThatIsSaidToHaveALibrary) {
  platform.shared().insert_or_assign(tidewell::kHomeLayoutKey, "Library");
  platform.home.folder(".config/chromium");
  EXPECT_THAT(asked("Chromium"),
              ElementsAre("Library/Application Support/Chromium", "Library/Caches",
                          "Library/Application Support/Microsoft", "Library/Preferences/Macromedia"));
}

}  // namespace
