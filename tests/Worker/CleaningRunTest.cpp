// From an application that quits to the two runs.

#include <chrono>

#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using testing_support::GrantedHomeTest;

constexpr char kSilverlight[] = "Library/Application Support/Microsoft/Silverlight";
constexpr char kFlash[] = "Library/Preferences/Macromedia/Flash Player";

class CleaningRun : public GrantedHomeTest {
 protected:
  /// How many runs have removed Silverlight's data, which each of them does once.
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
  EXPECT_THAT(platform.journal.entriesAfter("operation queue"), IsEmpty());  // it only hands over, and returns
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("operation queue on "), ElementsAre("main"));
}

TEST_F(CleaningRun, removesFlashBeforeSilverlight) {
  enable({"com.apple.Safari"});
  quit("Safari", std::nullopt);
  const auto removals = platform.removals();
  const auto flash = std::find(removals.begin(), removals.end(), kFlash);
  const auto silverlight = std::find(removals.begin(), removals.end(), kSilverlight);
  EXPECT_TRUE(flash < silverlight);
}

TEST_F(CleaningRun, ofTwoBrowsersAreFourRunsThatOverlap) {
  platform.shared().insert_or_assign("displayNotifications", true);
  enable({"org.mozilla.firefox", "com.operasoftware.Opera"});
  // Neither run has begun when the other is handed over.
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
