// A browser quits in a home without a Library, with data in every store of today's browsers: what sites have left is
// removed, and everything else stays the same byte for byte.

#include <algorithm>

#include "tests/support/BrowserFiles.h"
#include "tests/support/HeldFile.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing_support::Cleaned;
using testing_support::fillLibraryWithCurrentStores;
using testing_support::fillLinuxSampleHome;
using testing_support::HomeContents;
using testing_support::kVisitedSite;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;
using Texts = std::vector<std::string>;

/// Whether a cleaning may rewrite that file; any other file stays the same byte for byte, or is removed.
bool mayBeRewritten(const std::string& path) {
  static const Texts kParts = {
      "/Preferences", "/Local Storage/leveldb/", "/File System/Origins/", "/WebStorage/QuotaManager",
      "/databases/Databases.db", "/Origin Bound Certs", "/Sessions/", "/Current Session", "/Last Session",
      "/Current Tabs", "/Last Tabs", "/Web Data", "/Network Action Predictor", "/GCM Store/",
      // Firefox's
      "/sessionstore.jsonlz4", "/sessionstore-backups/", "/webappsstore.sqlite", "/storage.sqlite",
      "/ls-archive.sqlite", "/content-prefs.sqlite", "/2918063365piupsah.sqlite", "/permissions.sqlite"};
  return std::any_of(kParts.begin(), kParts.end(),
                     [&](const std::string& part) { return path.find(part) != std::string::npos; });
}

class LinuxRun : public LinuxHomeTest, public ::testing::WithParamInterface<std::string> {
 protected:
  using Fill = void (*)(const ScratchFolder&, const std::optional<Cleaned>&);

  /// Compares the home after the browser has quit with the expected one, which is made in another folder.
  void expectCleaned(const HomeContents& before, const Cleaned& cleaned, Fill fill = fillLinuxSampleHome) {
    const HomeContents after(platform.home);
    const ScratchFolder beside;
    fill(beside, cleaned);
    EXPECT_THAT(differencesIn(after, HomeContents(beside), beside), IsEmpty());
    for (const Texts& paths : {after.changedSince(before), after.addedSince(before)}) {
      for (const std::string& path : paths) EXPECT_TRUE(mayBeRewritten(path)) << path;
    }
    EXPECT_THAT(platform.log.lines(), IsEmpty());
    EXPECT_THAT(panels(), IsEmpty());
  }

  /// The differences; the home's path, which is in lists of profiles, is replaced before the comparison.
  Texts differencesIn(const HomeContents& after, HomeContents expected, const ScratchFolder& beside) const {
    for (auto& [path, meaning] : expected.meanings) {
      if (!path.ends_with("profiles.ini")) continue;
      const std::size_t at = meaning.find(beside.path());
      if (at != std::string::npos) meaning.replace(at, beside.path().size(), platform.home.path());
    }
    return after.differencesFrom(expected);
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_P(LinuxRun, takesWhatSitesHaveLeftAndNothingElse) {
  fillLinuxSampleHome(platform.home);
  const HomeContents before(platform.home);
  grantSampleHome(GetParam());
  quit(GetParam());
  expectCleaned(before, {GetParam()});
}

TEST_P(LinuxRun, changesNothingASecondTime) {
  fillLinuxSampleHome(platform.home);
  grantSampleHome(GetParam());
  quit(GetParam());
  const HomeContents after(platform.home);
  quit(GetParam());
  const HomeContents again(platform.home);
  EXPECT_THAT(again.differencesFrom(after), IsEmpty());
  EXPECT_THAT(again.goneSince(after), IsEmpty());
  EXPECT_THAT(again.addedSince(after), IsEmpty());
  // SQLite counts the transactions in a database's header.
  for (const std::string& path : again.changedSince(after)) {
    EXPECT_TRUE(path.ends_with(".sqlite") || path.ends_with("/QuotaManager") || path.ends_with("/Databases.db") ||
                path.ends_with("/Origin Bound Certs"))
        << path;
  }
}

TEST_P(LinuxRun, takesTheSameWithOverwriting) {
  fillLinuxSampleHome(platform.home);
  const HomeContents before(platform.home);
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  grantSampleHome(GetParam());
  quit(GetParam());
  expectCleaned(before, {GetParam()});
}

TEST_P(LinuxRun, takesOnlyTheStoresOfOldWhenThatIsWanted) {
  fillLinuxSampleHome(platform.home);
  const HomeContents before(platform.home);
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, false);
  grantSampleHome(GetParam());
  quit(GetParam());
  expectCleaned(before, {GetParam(), false});
}

TEST_P(LinuxRun, onAHomeWithALibraryTakesCurrentStoresWhenThatIsWanted) {
  fillLibraryWithCurrentStores(platform.home);
  const HomeContents before(platform.home);
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, true);
  platform.grant(platform.home.path());
  quit(GetParam());
  expectCleaned(before, {GetParam()}, fillLibraryWithCurrentStores);
}

TEST_P(LinuxRun, onAHomeWithALibraryTakesCurrentStoresThoughTheBrowserRunsAgain) {
  fillLibraryWithCurrentStores(platform.home);
  const HomeContents before(platform.home);
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, true);
  platform.grant(platform.home.path());
  platform.workspace.running.insert(std::string(browser(GetParam()).bundleIdentifier));
  quit(GetParam());
  expectCleaned(before, {GetParam()}, fillLibraryWithCurrentStores);
}

TEST_P(LinuxRun, onAHomeWithALibraryTakesOnlyTheStoresOfOldByTheStepsOfOld) {
  fillLibraryWithCurrentStores(platform.home);
  const HomeContents before(platform.home);
  platform.grant(platform.home.path());
  quit(GetParam(), {{"browser", "--user-data-dir=" + platform.home.folder("Disk"), "-profile", home("Disk")}});
  std::filesystem::remove(home("Disk"));
  expectCleaned(before, {GetParam(), false}, fillLibraryWithCurrentStores);
  for (const char* operation : {"pieces of ", "make folder ", "make file ", "exchange ", "move ", "lock "}) {
    EXPECT_THAT(platform.journal.entriesAfter(operation), IsEmpty()) << operation;
  }
  EXPECT_FALSE(platform.shared().contains(tidewell::kStartedWithKey));
}

TEST_P(LinuxRun, withNothingGrantedChangesNothing) {
  fillLinuxSampleHome(platform.home);
  const HomeContents before(platform.home);
  quit(GetParam());
  const HomeContents after(platform.home);
  EXPECT_THAT(after.goneSince(before), IsEmpty());
  EXPECT_THAT(after.addedSince(before), IsEmpty());
  EXPECT_THAT(after.changedSince(before), IsEmpty());
  EXPECT_THAT(panels(), Not(IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(Of, LinuxRun, ::testing::Values("Firefox", "Google Chrome", "Chromium", "Opera"),
                         [](const auto& browser) {
                           std::string name = browser.param;
                           std::erase(name, ' ');
                           return name;
                         });

TEST_F(LinuxRun, ofSafariChangesNothing) {
  fillLinuxSampleHome(platform.home);
  const HomeContents before(platform.home);
  platform.grant(platform.home.path());
  quit("Safari");
  const HomeContents after(platform.home);
  EXPECT_THAT(after.goneSince(before), IsEmpty());
  EXPECT_THAT(after.changedSince(before), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("remove "), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("script "), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(LinuxRun, ofAllBrowsersLeavesNoTraceOfASite) {
  fillLinuxSampleHome(platform.home);
  for (const char* name : {"Firefox", "Google Chrome", "Chromium", "Opera"}) {
    grantSampleHome(name);
    quit(name);
  }
  EXPECT_THAT(HomeContents(platform.home).mentioning(kVisitedSite), IsEmpty());
}

TEST_F(LinuxRun, leavesWhatCannotBeOverwrittenAndTakesTheRest) {
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Default/Preferences", "{}");
  platform.home.file(".config/chromium/Default/Session Storage/000003.log", "mark");
  platform.home.file(".config/chromium/Default/Code Cache/js/index", "mark");
  platform.home.file(".config/chromium/Default/Code Cache/wasm/index", "mark");
  platform.home.file(".config/chromium/Default/Network/Cookies", "mark");
  platform.home.link(".config/chromium/Default/Code Cache/link", platform.home.file("Documents/mine", "mine"));
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  platform.grant(home(".config/chromium"));
  platform.fileManagerOnOneMount.overwritingFails = true;
  quit("Chromium");
  EXPECT_EQ(platform.home.content(".config/chromium/Default/Code Cache/js/index"), "mark");
  EXPECT_EQ(platform.home.content(".config/chromium/Default/Session Storage/000003.log"), "mark");
  EXPECT_EQ(platform.home.content(".config/chromium/Default/Network/Cookies"), "mark");
  EXPECT_THAT(platform.log.lines(),
              Contains("Network/Cookies of Chromium was left in part: it could not be overwritten"));
  platform.fileManagerOnOneMount.overwritingFails = false;
  quit("Chromium");
  EXPECT_THAT(platform.home.tree(".config/chromium/Default"), ElementsAre("Network/", "Preferences: {}"));
  EXPECT_EQ(platform.home.content("Documents/mine"), "mine");
}

TEST_F(LinuxRun, leavesWhatCannotBeOverwrittenOfDatabasesWithKeptEntriesToTheNext) {
  const std::string storage = ".config/chromium/Default/Local Storage/";
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Default/Preferences", "{}");
  const testing_support::LevelEntries kept = {{"VERSION", "1"}};
  testing_support::putInLevelDatabase(home(storage + "leveldb"), kept);
  testing_support::putInLevelDatabase(home(storage + "leveldb"), {{"META:https://visited.example", "mark"}});
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  platform.grant(home(".config/chromium"));
  platform.fileManagerOnOneMount.overwritingFails = true;
  quit("Chromium");
  EXPECT_THAT(HomeContents(platform.home).mentioning(kVisitedSite), Each(HasSubstr("leveldb.tidewell/")));
  EXPECT_THAT(HomeContents(platform.home).mentioning(kVisitedSite), Not(IsEmpty()));
  platform.fileManagerOnOneMount.overwritingFails = false;
  quit("Chromium");
  EXPECT_THAT(HomeContents(platform.home).mentioning(kVisitedSite), IsEmpty());
  EXPECT_EQ(testing_support::levelEntriesOf(home(storage + "leveldb")), kept);
}

TEST_F(LinuxRun, overwritesNothingThatALinkLeadsTo) {
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Default/Preferences", "{\"https://visited.example\":1}");
  for (const char* store : {"Network/Cookies", "Session Storage", "Code Cache", "Preferences.tidewell"}) {
    platform.home.file(".config/chromium/Default/Bookmarks", "mine");
    platform.home.link(std::string(".config/chromium/Default/") + store, home(".config/chromium/Default/Bookmarks"));
  }
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  platform.grant(home(".config/chromium"));
  quit("Chromium");
  EXPECT_THAT(platform.home.tree(".config/chromium/Default"),
              ElementsAre("Bookmarks: mine", "Network/", "Preferences: {\"https://visited.example\":1}"));
}

TEST_F(LinuxRun, takesAProfileThatTheBrowserHadOnlyBegunToFill) {
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Profile 1/Login Data");
  platform.home.file(".config/chromium/Profile 1/Cookies");
  platform.grant(home(".config/chromium"));
  quit("Chromium");
  EXPECT_THAT(platform.home.tree(".config/chromium/Profile 1"), ElementsAre("Login Data: content"));
}

TEST_F(LinuxRun, overwritesTheFilesInAFolderBeforeTheyGo) {
  const testing_support::HeldFile held(platform.home.file(".config/chromium/Default/Code Cache/js/index", "mark"));
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Default/Preferences", "{}");
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  platform.grant(home(".config/chromium"));
  quit("Chromium");
  EXPECT_FALSE(platform.home.exists(".config/chromium/Default/Code Cache"));
  EXPECT_FALSE(held.holds("mark"));
}

}  // namespace
