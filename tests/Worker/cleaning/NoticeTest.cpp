// What a person is told of a cleaning.

#include "Worker/cleaning/Notice.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;
using tidewell::Left;
using tidewell::noticeOf;
using tidewell::Outcome;
using tidewell::Report;
using tidewell::StoreGroup;

class Notices : public LinuxHomeTest {
 protected:
  Notices() {
    platform.shared().insert_or_assign("displayNotifications", true);
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
  }

  void leaves(const std::string& store, Outcome outcome) {
    report.stores.push_back({"/profile", store, StoreGroup::kCookies, outcome});
  }
  std::string text() const {
    const auto notice = noticeOf(report, "Firefox");
    return notice ? notice->text : "";
  }
  std::vector<std::string> notified() const { return platform.journal.entriesAfter("notify Tidewell: "); }
  const platform::UserNotification& notification(std::size_t index) const {
    return platform.notificationCenter.scheduled().at(index);
  }
  void pressTheButton(const std::string& identifier) {
    platform.notificationCenter.click(identifier, platform::UserNotification::ActivationType::kActionButtonClicked);
    platform.dispatch.runUntilIdle();
  }
  void quitChromium() { quit("Chromium"); }

  Report report;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Notices, tellHowMuchHasGone) {
  leaves("Cookies", {Left::kNothing, 20, 18'900'000});
  leaves("Databases", {Left::kNothing, 1, 100'000});
  EXPECT_EQ(text(), "Firefox: 21 items removed, 19 MB");
  EXPECT_FALSE(noticeOf(report, "Firefox")->more);
}

TEST_F(Notices, tellOfOneItemInTheSingular) {
  leaves("Cookies", {Left::kNothing, 1, 4'200});
  EXPECT_EQ(text(), "Firefox: 1 item removed, 4 kB");
}

TEST_F(Notices, giveSizesInTheUnitThatReadsBest) {
  const std::vector<std::pair<std::uint64_t, std::string>> sizes = {{0, "0 kB"},
                                                                    {999'499, "999 kB"},
                                                                    {999'500, "1.0 MB"},
                                                                    {4'240'000, "4.2 MB"},
                                                                    {9'949'000, "9.9 MB"},
                                                                    {9'950'000, "10 MB"},
                                                                    {999'499'999, "999 MB"},
                                                                    {2'500'000'000, "2.5 GB"},
                                                                    {40'000'000'000, "40 GB"},
                                                                    {3'000'000'000'000, "3.0 TB"},
                                                                    {5'000'000'000'000'000, "5000 TB"}};
  for (const auto& [bytes, size] : sizes) {
    report.stores.clear();
    leaves("Cookies", {Left::kNothing, 2, bytes});
    EXPECT_EQ(text(), "Firefox: 2 items removed, " + size);
  }
}

TEST_F(Notices, areNoneWhereNothingWasThere) {
  EXPECT_FALSE(noticeOf(report, "Firefox"));
}

TEST_F(Notices, tellWhatWasLeftAndWhyALineForEachReason) {
  leaves("Cookies", {Left::kNothing, 3, 2'000});
  leaves("Databases", {Left::kInUse, 0, 0, EAGAIN});
  leaves("Local Storage", {Left::kInUse, 2, 1'000});
  leaves("a", {Left::kNotOverwritten});
  leaves("b", {Left::kFailed, 0, 0, EIO});
  leaves("c", {Left::kNotReadable});
  leaves("d", {Left::kOnOtherMount});
  report.stores.push_back({"/other", "", StoreGroup::kSiteStorage, {Left::kNotAllowed}});
  EXPECT_EQ(text(), "Firefox: 5 items removed, 3 kB");
  EXPECT_THAT(noticeOf(report, "Firefox")->more, Optional(std::string("1 folder was not allowed, and was not cleaned\n"
                                                                      "2 items were in use, and were left\n"
                                                                      "1 item could not be overwritten, and was left\n"
                                                                      "3 items could not be cleaned")));
}

TEST_F(Notices, beginWithWhatWasLeftWhereNothingHasGone) {
  for (const char* folder : {"/one", "/two"}) {
    report.stores.push_back({folder, "", StoreGroup::kSiteStorage, {Left::kNotAllowed}});
  }
  EXPECT_EQ(text(), "Firefox: 2 folders were not allowed, and were not cleaned");
  EXPECT_FALSE(noticeOf(report, "Firefox")->more);
}

TEST_F(Notices, sayNothingOfAFolderThatIsNeverAskedFor) {
  for (const char* folder : {"/one", "/two"}) {
    report.stores.push_back({folder, "", StoreGroup::kSiteStorage, {Left::kNotAllowed}});
  }
  platform.own().insert_or_assign("neverAsked", platform::Value::Array{"/one"});
  EXPECT_EQ(text(), "Firefox: 1 folder was not allowed, and was not cleaned");
  platform.own().insert_or_assign("neverAsked", platform::Value::Array{"/one", "/two"});
  EXPECT_FALSE(noticeOf(report, "Firefox"));
}

TEST_F(Notices, areTranslated) {
  platform.bundle.translations["%@: %@"] = "%2$@ (%1$@)";
  platform.bundle.translations["%@ items removed, %@"] = "%@ weg: %@";
  platform.bundle.translations["%@ MB"] = "%@ Mo";
  leaves("Cookies", {Left::kNothing, 2, 30'000'000});
  EXPECT_EQ(text(), "2 weg: 30 Mo (Firefox)");
}

TEST_F(Notices, comeOnceAfterAQuitForBothRuns) {
  platform.grant(home(".config/chromium"));
  platform.home.file(".config/chromium/Default/Cookies", std::string(3'000, 'c'));
  quitChromium();
  EXPECT_THAT(notified(), ElementsAre("Chromium: 1 item removed, 3 kB"));
}

TEST_F(Notices, comeOfNothingOnlyWhenThePersonWantsThem) {
  platform.grant(home(".config/chromium"));
  quitChromium();
  EXPECT_THAT(notified(), IsEmpty());
  platform.shared().insert_or_assign("notifyAlways", true);
  quitChromium();
  EXPECT_THAT(notified(), ElementsAre("Chromium: nothing was there to remove"));
  platform.shared().insert_or_assign("displayNotifications", false);
  quitChromium();
  EXPECT_THAT(notified(), SizeIs(1));
}

TEST_F(Notices, sayThatFoldersWereNotAllowedAndNotThatTheyWereCleaned) {
  platform.home.file(".config/chromium/Default/Cookies");
  platform.home.folder(".cache/chromium/Default/Cache");
  quitChromium();
  EXPECT_THAT(notified(), ElementsAre("Chromium: 2 folders were not allowed, and were not cleaned"));
  EXPECT_TRUE(platform.home.exists(".config/chromium/Default/Cookies"));
}

TEST_F(Notices, offerToAskForTheFoldersAgain) {
  platform.home.file(".config/chromium/Default/Cookies");
  platform.openPanel.willCancel();
  quitChromium();
  ASSERT_THAT(notified(), SizeIs(1));
  EXPECT_TRUE(notification(0).hasActionButton);
  EXPECT_EQ(notification(0).actionButtonTitle, "Allow…");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
  platform.openPanel.agreesToAll = true;
  pressTheButton("1");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium", ".config/chromium"));
  EXPECT_FALSE(platform.home.exists(".config/chromium/Default/Cookies"));
  EXPECT_THAT(platform.notificationCenter.delivered(), ElementsAre("2"));
  EXPECT_EQ(notified().back(), "Chromium: 1 item removed, 0 kB");
}

TEST_F(Notices, offerOnlyFoldersThatMayBeAskedFor) {
  platform.home.folder(".cache/chromium/Default/Cache");
  platform.openPanel.willSayNever();  // to the data
  quitChromium();
  EXPECT_THAT(notified(), ElementsAre("Chromium: 1 folder was not allowed, and was not cleaned"));
  platform.openPanel.willSayNever();  // to the caches
  pressTheButton("1");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium", ".cache/chromium", ".cache/chromium"));
  quitChromium();
  EXPECT_THAT(notified(), SizeIs(1));
}

TEST_F(Notices, haveNoButtonWhereAllIsAllowed) {
  platform.grant(home(".config/chromium"));
  platform.home.file(".config/chromium/Default/Cookies");
  quitChromium();
  ASSERT_THAT(notified(), SizeIs(1));
  EXPECT_FALSE(notification(0).hasActionButton);
}

TEST_F(Notices, openTheWindowAtTheBrowserWhenTheyAreClicked) {
  platform.grant(home(".config/chromium"));
  platform.home.file(".config/chromium/Default/Cookies");
  quitChromium();
  platform.notificationCenter.click("1");
  EXPECT_THAT(platform.workspace.opened, ElementsAre("com.emberlinestudio.Tidewell org.chromium.Chromium "));
  EXPECT_THAT(platform.notificationCenter.delivered(), IsEmpty());
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(Notices, askForNothingWhenTheBrowserIsNoLongerEnabled) {
  quitChromium();
  const std::size_t asked = panels().size();
  enable({});
  pressTheButton("1");
  EXPECT_THAT(panels(), SizeIs(asked));
}

TEST_F(Notices, areNoneOfABrowserThatIsBack) {
  platform.grant(home(".config/chromium"));
  platform.shared().insert_or_assign("notifyAlways", true);
  platform.workspace.running.insert("org.chromium.Chromium");
  quitChromium();
  EXPECT_THAT(notified(), IsEmpty());
}

}  // namespace
