// Runs after an application has quit: when they start, and in what order.

#include <chrono>

#include "Worker/browsers/Browsers.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using testing_support::GrantedHomeTest;

constexpr char kSilverlight[] = "Library/Application Support/Microsoft/Silverlight";
constexpr char kFlash[] = "Library/Preferences/Macromedia/Flash Player";
constexpr char kFlashAssets[] = "Library/Caches/Adobe/Flash Player/AssetCache";
constexpr char kQuickTime[] = "Library/Caches/QuickTime/downloads";
constexpr char kProfile[] = "Library/Application Support/Firefox/Profiles/p";

class CleaningRun : public GrantedHomeTest {
 protected:
  /// How many runs there were: each removes Silverlight's data once.
  std::size_t runs() const {
    const auto removals = platform.removals();
    return static_cast<std::size_t>(std::count(removals.begin(), removals.end(), kSilverlight));
  }
  void quit(std::optional<std::string> name, std::optional<std::string> identifier) {
    platform.workspace.quit(std::move(name), std::move(identifier));
    platform.dispatch.runUntilIdle();
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(CleaningRun, ofSafariIsStartedByTheNameWhateverTheIdentifier) {
  enable({"com.apple.Safari"});
  quit("Safari", "com.example.Impostor");
  EXPECT_EQ(runs(), 1U);
  quit("Safari", std::nullopt);
  EXPECT_EQ(runs(), 2U);
}

TEST_F(CleaningRun, ofFirefoxChromeAndChromiumAreStartedByTheNameWhateverTheIdentifier) {
  enable({"org.mozilla.firefox", "com.google.Chrome", "org.chromium.Chromium"});
  quit("Firefox", "com.example.Impostor");
  EXPECT_EQ(runs(), 1U);
  quit("Google Chrome", "com.example.Impostor");
  EXPECT_EQ(runs(), 2U);
  quit("Chromium", "com.example.Impostor");
  EXPECT_EQ(runs(), 3U);
}

TEST_F(CleaningRun, ofOperaIsStartedByTheIdentifierWhateverTheName) {
  enable({"com.operasoftware.Opera"});
  quit("Opera Nightly", "com.operasoftware.Opera");
  EXPECT_EQ(runs(), 1U);
  quit(std::nullopt, "com.operasoftware.Opera");
  EXPECT_EQ(runs(), 2U);
}

TEST_F(CleaningRun, isNotStartedByOperasNameAlone) {
  enable({"com.operasoftware.Opera"});
  quit("Opera", "com.example.Other");
  quit("Opera", std::nullopt);
  EXPECT_EQ(runs(), 0U);
}

TEST_F(CleaningRun, comparesOperasIdentifierExactly) {
  enable({"com.operasoftware.Opera"});
  for (const char* identifier :
       {"com.operasoftware.OperaGX", "com.operasoftware.opera", "com.operasoftware.Opera ", "com.operasoftware.Oper"}) {
    quit("Opera", identifier);
  }
  EXPECT_EQ(runs(), 0U);
}

TEST_F(CleaningRun, takesOperasIdentifierBeforeAnyName) {
  // Opera's identifier under Firefox's name is Opera: the setting for Firefox does not count.
  enable({"org.mozilla.firefox"});
  quit("Firefox", "com.operasoftware.Opera");
  EXPECT_EQ(runs(), 0U);
  enable({"com.operasoftware.Opera"});
  quit("Firefox", "com.operasoftware.Opera");
  EXPECT_EQ(runs(), 1U);
}

TEST_F(CleaningRun, comparesNamesExactly) {
  enable({"com.apple.Safari", "org.mozilla.firefox", "com.google.Chrome", "org.chromium.Chromium"});
  for (const char* name : {"safari", "Firefox ", "Google chrome", "chromium", "Chrome", "", "(null)"}) quit(name, "x");
  quit(std::nullopt, std::nullopt);
  EXPECT_EQ(runs(), 0U);
  EXPECT_EQ(platform.dispatch.waitingTimers(), 0U);
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(CleaningRun, isNotStartedByABrowserThatIsOnOtherHomesAlone) {
  for (const tidewell::Browser& browser : tidewell::browsers()) {
    if (browser.isOnHomesWithLibrary()) continue;
    const std::string identifier(browser.bundleIdentifier);
    enable({identifier});
    quit(std::string(browser.name), identifier);
  }
  EXPECT_EQ(runs(), 0U);
  EXPECT_EQ(platform.dispatch.waitingTimers(), 0U);
}

TEST_F(CleaningRun, happensOnlyForAnEnabledBrowser) {
  enable({"com.google.Chrome"});
  quit("Chromium", "org.chromium.Chromium");
  EXPECT_EQ(runs(), 0U);
  quit("Google Chrome", "com.google.Chrome");
  EXPECT_EQ(runs(), 1U);
}

TEST_F(CleaningRun, readsTheSettingAfreshAtEachQuit) {
  quit("Firefox", std::nullopt);
  EXPECT_EQ(runs(), 0U);
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  EXPECT_EQ(runs(), 1U);
}

TEST_F(CleaningRun, treatsASettingOfAnotherTypeAsNothingEnabled) {
  platform.shared().insert_or_assign("enabledBrowsers", "org.mozilla.firefox");
  quit("Firefox", std::nullopt);
  platform.shared().insert_or_assign("enabledBrowsers", platform::Value::Array{1, true});
  quit("Firefox", std::nullopt);
  EXPECT_EQ(runs(), 0U);
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(CleaningRun, findsAnEnabledBrowserAmongEntriesOfOtherTypes) {
  enable({1, platform::Value::Array{"x"}, "org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  EXPECT_EQ(runs(), 1U);
}

TEST_F(CleaningRun, checkIfBrowserEnabledKnowsTheFiveNamesOnly) {
  enable({"com.apple.Safari", "org.mozilla.firefox", "com.google.Chrome", "org.chromium.Chromium",
          "com.operasoftware.Opera", "Lynx"});
  for (const char* name : {"Safari", "Firefox", "Google Chrome", "Chromium", "Opera"}) {
    EXPECT_TRUE(tidewell::WorkerAppDelegate::checkIfBrowserEnabled(name)) << name;
  }
  for (const char* name : {"Lynx", "safari", "com.apple.Safari", ""}) {
    EXPECT_FALSE(tidewell::WorkerAppDelegate::checkIfBrowserEnabled(name)) << name;
  }
}

TEST_F(CleaningRun, happensTwiceEightSecondsApartWithOneNotificationAfterTheSecond) {
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  EXPECT_EQ(runs(), 1U);
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
  platform.dispatch.advance(8s - 1ns);
  EXPECT_EQ(runs(), 1U);
  platform.dispatch.advance(1ns);
  EXPECT_EQ(runs(), 2U);
  EXPECT_EQ(platform.notificationCenter.scheduled().size(), 1U);
  platform.dispatch.advance(60s);
  EXPECT_EQ(runs(), 2U);
  EXPECT_EQ(platform.notificationCenter.scheduled().size(), 1U);
}

TEST_F(CleaningRun, schedulesTheSecondOnTheGlobalQueueOfHighPriority) {
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  EXPECT_THAT(platform.journal.entries(), Contains("after 8000000000 ns on global.high"));
}

TEST_F(CleaningRun, makesItsOperationQueueOnTheMainThread) {
  platform.dispatch.asBackgroundThread([this] { worker->clearData_andNotify("Firefox", false); });
  EXPECT_THAT(platform.journal.entriesAfter("operation queue"), IsEmpty());  // it only posts a task, and returns
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("operation queue on "), ElementsAre("main"));
}

TEST_F(CleaningRun, makesAnOperationQueueForEachRun) {
  worker->clearData_andNotify("Firefox", false);
  worker->clearData_andNotify("Firefox", true);
  worker->clearData_andNotify("Opera", false);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("operation queue on "), ElementsAre("main", "main", "main"));
}

TEST_F(CleaningRun, cleansInItsOperationAndNowhereElse) {
  platform.home.file(std::string(kProfile) + "/storage/default/a");
  platform.journal.clear();
  worker->clearData_andNotify("Firefox", false);
  EXPECT_TRUE(platform.dispatch.runOneOnMain());  // adds the operation
  EXPECT_THAT(platform.journal.entriesAfter("queue "), IsEmpty());
  EXPECT_TRUE(platform.dispatch.runOneInBackground());  // the operation
  EXPECT_THAT(platform.journal.placesOf("queue "), AllOf(Not(IsEmpty()), Each("operation")));
  EXPECT_THAT(platform.removals(), IsEmpty());
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.placesOf("queue "), Each("operation"));
  EXPECT_THAT(platform.removals(), Contains(std::string(kProfile) + "/storage/default"));
}

TEST_F(CleaningRun, notifiesInItsCompletionAfterTheOperationAndNotOnTheMainThread) {
  platform.shared().insert_or_assign("displayNotifications", true);
  worker->clearData_andNotify("Firefox", true);
  EXPECT_TRUE(platform.dispatch.runOneOnMain());
  EXPECT_TRUE(platform.dispatch.runOneInBackground());
  EXPECT_THAT(platform.journal.entriesAfter("queue "), Not(IsEmpty()));  // the cleaners have been called
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.placesOf("notify "), ElementsAre("completion"));
}

TEST_F(CleaningRun, ofFirefoxCallsTheFiveCleanersInTheirOrder) {
  platform.home.file(std::string(kProfile) + "/storage/default/a");
  platform.home.file("Library/Caches/Firefox/Profiles/p/Cache/a");
  worker->clearData_andNotify("Firefox", false);
  platform.dispatch.runUntilIdle();
  const std::string profile = kProfile;
  const std::string caches = "Library/Caches/Firefox/Profiles/p";
  EXPECT_THAT(platform.removals(),
              ElementsAre(profile + "/cookies.sqlite", profile + "/permissions.sqlite", profile + "/storage/default",
                          kFlash, kSilverlight, caches + "/Cache", caches + "/OfflineCache", caches + "/startupCache",
                          profile + "/SiteSecurityServiceState.txt", kFlashAssets, kQuickTime));
}

TEST_F(CleaningRun, ofChromeCallsTheFiveCleanersInTheirOrder) {
  const std::string data = "Library/Application Support/Google/Chrome/";
  platform.home.file(data + "Local State", R"({"profile": {"info_cache": {"P": {"name": "p"}}}})");
  platform.home.file(data + "P/IndexedDB/a");
  worker->clearData_andNotify("Google Chrome", false);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.removals(),
              ElementsAre(data + "P/Cookies", data + "P/IndexedDB", data + "P/Pepper Data", kSilverlight,
                          "Library/Caches/Google/Chrome/P", data + "P/Application Cache", data + "P/GPUCache",
                          data + "P/TransportSecurity", kFlashAssets, kQuickTime));
}

TEST_F(CleaningRun, ofSafariCallsTheFiveCleanersInTheirOrder) {
  platform.home.file("Library/Safari/Databases/___IndexedDB/a");
  worker->clearData_andNotify("Safari", false);
  platform.journal.clear();
  platform.dispatch.runUntilIdle();
  // The cookie cleaner is called first, though it removes the cookies a second later.
  EXPECT_THAT(platform.journal.entriesAfter("after "), ElementsAre("1000000000 ns on main"));
  const auto entries = platform.journal.entries();
  const auto cookies = std::find(entries.begin(), entries.end(), "after 1000000000 ns on main");
  EXPECT_EQ(std::count_if(entries.begin(), cookies, [](const auto& entry) { return entry.starts_with("queue "); }), 0);
  EXPECT_THAT(platform.removals(),
              ElementsAre("Library/Safari/Databases/___IndexedDB", kFlash, kSilverlight,
                          "Library/Caches/com.apple.Safari/Cache.db", "Library/Caches/com.apple.Safari/fsCachedData",
                          "Library/Cookies/Cookies.plist", "Library/Cookies/HSTS.plist",
                          "Library/Caches/CloudKit/com.apple.Safari", kFlashAssets, kQuickTime));
}

TEST_F(CleaningRun, thatIsStillUnderWayWhenTheSecondStartsDoesAllItsWorkAndSoDoesTheSecond) {
  platform.shared().insert_or_assign("displayNotifications", true);
  platform.home.file(std::string(kProfile) + "/storage/default/a");
  enable({"org.mozilla.firefox"});
  platform.own().clear();
  // The first run waits for the user at a panel while eight seconds pass.
  int panels = 0;
  platform.openPanel.whileShown = [&] {
    if (++panels > 1) return;
    platform.dispatch.advance(8s);
    EXPECT_EQ(runs(), 1U);  // the second run is over, and has notified
    EXPECT_THAT(platform.journal.entriesAfter("notify "), SizeIs(1));
    EXPECT_FALSE(platform.home.exists(std::string(kProfile) + "/storage/default"));
    platform.home.file(std::string(kProfile) + "/storage/default/b");  // the browser has been started again
  };
  platform.openPanel.willChoose(platform.home.path());  // in the second run
  platform.openPanel.willChoose(platform.home.path());
  quit("Firefox", std::nullopt);
  EXPECT_EQ(panels, 2);
  EXPECT_EQ(runs(), 2U);
  const auto removals = platform.removals();
  for (const std::string& path : {std::string(kProfile) + "/cookies.sqlite", std::string(kProfile) + "/storage/default",
                                  std::string(kFlash), std::string(kFlashAssets)}) {
    EXPECT_EQ(std::count(removals.begin(), removals.end(), path), 2) << path;
  }
  EXPECT_FALSE(platform.home.exists(std::string(kProfile) + "/storage/default"));
  EXPECT_THAT(platform.journal.entriesAfter("notify "), SizeIs(1));
}

TEST_F(CleaningRun, isNotLeftOutBecauseTheBrowserRunsAgain) {
  enable({"org.mozilla.firefox"});
  platform.workspace.running.insert("org.mozilla.firefox");
  quit("Firefox", std::nullopt);
  platform.dispatch.advance(8s);
  EXPECT_EQ(runs(), 2U);
}

TEST_F(CleaningRun, ofTwoBrowsersAreFourRunsThatOverlap) {
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"org.mozilla.firefox", "com.operasoftware.Opera"});
  // Both first runs are queued before either begins.
  platform.workspace.quit("Firefox", std::nullopt);
  platform.workspace.quit("Opera", "com.operasoftware.Opera");
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 2U);
  platform.dispatch.advance(8s);
  EXPECT_EQ(runs(), 4U);
  EXPECT_THAT(platform.journal.entriesAfter("notify "),
              ElementsAre("Tidewell: Cookies, Databases, Flash, Silverlight, and Cache removed from Firefox",
                          "Tidewell: Cookies, Databases, Flash, Silverlight, and Cache removed from Opera"));
}

TEST_F(CleaningRun, ofOneBrowserThatQuitsTwiceIsNotJoined) {
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  platform.dispatch.advance(2s);
  quit("Firefox", std::nullopt);
  platform.dispatch.advance(20s);
  EXPECT_EQ(runs(), 4U);
}

TEST_F(CleaningRun, stillHappensAgainWhenTheBrowserWasDisabledMeanwhile) {
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  enable({});
  platform.dispatch.advance(8s);
  EXPECT_EQ(runs(), 2U);
}

TEST_F(CleaningRun, announcesItselfAlthoughNothingWasThereToRemove) {
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  platform.dispatch.advance(8s);
  EXPECT_EQ(platform.notificationCenter.scheduled().size(), 1U);
}

TEST_F(CleaningRun, keepsTheWorkerAliveUntilTheSecondIsDone) {
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"org.mozilla.firefox"});
  quit("Firefox", std::nullopt);
  worker.reset();
  platform.dispatch.advance(8s);
  EXPECT_EQ(platform.notificationCenter.scheduled().size(), 1U);
  EXPECT_EQ(platform.workspace.observers(), 0U);
}

TEST_F(CleaningRun, notificationNamesTheBrowser) {
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"com.google.Chrome"});
  quit("Google Chrome", std::nullopt);
  platform.dispatch.advance(8s);
  ASSERT_EQ(platform.notificationCenter.scheduled().size(), 1U);
  EXPECT_EQ(platform.notificationCenter.scheduled()[0].subtitle,
            "Cookies, Databases, Flash, Silverlight, and Cache removed from Google Chrome");
}

TEST_F(CleaningRun, notificationIsTranslatedAndItsTitleIsNot) {
  platform.bundle.translations["Cookies, Databases, Flash, Silverlight, and Cache removed from %@"] = "%@: alles weg";
  platform.bundle.translations["Tidewell"] = "Gezeitenbrunnen";
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"org.chromium.Chromium"});
  quit("Chromium", std::nullopt);
  platform.dispatch.advance(8s);
  EXPECT_THAT(platform.journal.entriesAfter("notify "), ElementsAre("Tidewell: Chromium: alles weg"));
}

}  // namespace
