// Quits and requests on a home without a Library: what is repeated is joined, and no run waits for the person.

#include "tests/support/LinuxHomeTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;

constexpr char kChromium[] = ".config/chromium/Default/Cookies";
constexpr char kOpera[] = ".config/opera/Cookies";

class JoinedRuns : public LinuxHomeTest {
 protected:
  JoinedRuns() {
    platform.shared().insert_or_assign("displayNotifications", true);
    enable({"org.chromium.Chromium", "com.operasoftware.Opera"});
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
    platform.home.file(".config/opera/Local State", "{}");
    platform.home.file(".config/opera/Preferences", "{}");
    fill();
  }

  void fill() {
    platform.home.file(kChromium);
    platform.home.file(kOpera);
  }
  void grantBoth() {
    platform.grant(home(".config/chromium"));
    platform.grant(home(".config/opera"));
  }
  void quits(const char* name, int count = 1) {
    const std::string identifier(browser(name).bundleIdentifier);
    for (int quit = 0; quit < count; ++quit) platform.workspace.quit(name, identifier);
  }
  void ask(const char* name) {
    const std::string identifier(browser(name).bundleIdentifier);
    worker->answerFrom_reply(identifier, [this](const std::string& text) { answers.push_back(text); });
  }
  std::size_t operations() const { return platform.journal.entriesAfter("operation queue on ").size(); }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
  std::vector<std::string> answers;
};

TEST_F(JoinedRuns, ofOneQuitAreTwoWithOneNotification) {
  grantBoth();
  quits("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_FALSE(platform.home.exists(kChromium));
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
  fill();
  platform.dispatch.advance(8s - 1ns);
  EXPECT_TRUE(platform.home.exists(kChromium));
  platform.dispatch.advance(1ns);
  EXPECT_FALSE(platform.home.exists(kChromium));
  EXPECT_TRUE(platform.home.exists(kOpera));
  platform.dispatch.advance(60s);
  EXPECT_EQ(operations(), 2U);
  EXPECT_THAT(platform.journal.entriesAfter("notify "),
              ElementsAre("Tidewell: Chromium: 2 items removed, 0 kB"));  // one by each run
}

TEST_F(JoinedRuns, ofTwentyThousandQuitsAreFewAndTheLastQuitHasItsSecond) {
  grantBoth();
  quits("Chromium", 20'000);
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 1U);
  EXPECT_EQ(platform.dispatch.waitingTimers(), 1U);
  platform.dispatch.advance(8s);
  fill();
  platform.dispatch.advance(8s);
  EXPECT_FALSE(platform.home.exists(kChromium));
  platform.dispatch.advance(60s);
  EXPECT_EQ(operations(), 3U);
  EXPECT_EQ(platform.dispatch.waitingTimers(), 0U);
}

TEST_F(JoinedRuns, areFollowedByOneForWhatQuitsWhileOneIsUnderWay) {
  grantBoth();
  quits("Chromium");
  EXPECT_TRUE(platform.dispatch.runOneOnMain());  // it begins
  quits("Chromium", 100);
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(operations(), 2U);
}

TEST_F(JoinedRuns, ofTwoBrowsersDoNotWaitForEachOther) {
  grantBoth();
  quits("Chromium");
  quits("Opera");
  while (platform.dispatch.runOneOnMain()) {
  }
  EXPECT_EQ(platform.dispatch.waitingInBackground(), 2U);
}

TEST_F(JoinedRuns, cleanWhatIsGrantedWhileThePersonIsAskedForTheRest) {
  platform.grant(home(".config/chromium"));
  platform.home.folder(".cache/chromium/Default/Cache");
  int panelsShown = 0;
  platform.openPanel.whileShown = [&] {
    ++panelsShown;
    EXPECT_FALSE(platform.home.exists(kChromium));
    EXPECT_TRUE(platform.home.exists(".cache/chromium/Default/Cache"));
  };
  platform.openPanel.agreesToAll = true;
  quits("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(panelsShown, 1);
  EXPECT_FALSE(platform.home.exists(".cache/chromium/Default/Cache"));
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
}

TEST_F(JoinedRuns, goOnForEveryBrowserWhileAPanelWaits) {
  platform.grant(home(".config/opera"));
  int panelsShown = 0;
  platform.openPanel.whileShown = [&] {
    if (++panelsShown > 1) return;
    quits("Opera");
    quits("Chromium", 100);
    platform.dispatch.advance(30s);
    EXPECT_FALSE(platform.home.exists(kOpera));
    EXPECT_THAT(platform.journal.entriesAfter("notify "), SizeIs(3));  // Opera's, Chromium's two
    EXPECT_EQ(panelsShown, 1);
  };
  ask("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(panelsShown, 1);  // its answer is that to the runs that came meanwhile
  EXPECT_TRUE(platform.home.exists(kChromium));
}

TEST_F(JoinedRuns, cleanNothingOfABrowserThatRunsWhenThePersonHasAnswered) {
  platform.openPanel.agreesToAll = true;
  platform.openPanel.whileShown = [&] { platform.workspace.running.insert("org.chromium.Chromium"); };
  quits("Chromium");
  platform.dispatch.advance(60s);
  EXPECT_TRUE(platform.home.exists(kChromium));
}

TEST_F(JoinedRuns, haveRequestsThatAreAllAnsweredAndAskOnce) {
  for (int count = 0; count < 1100; ++count) ask("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
  EXPECT_THAT(answers, SizeIs(1100));
  EXPECT_THAT(answers, Each("bookmarked: org.chromium.Chromium "));
}

TEST_F(JoinedRuns, takeARefusalForThatOfTheRequestsThatCameMeanwhile) {
  int panelsShown = 0;
  platform.openPanel.whileShown = [&] {
    if (++panelsShown > 1) return;
    for (int count = 0; count < 100; ++count) ask("Chromium");
    platform.dispatch.runUntilIdle();
    EXPECT_THAT(answers, IsEmpty());
  };
  ask("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(panelsShown, 1);
  EXPECT_THAT(answers, SizeIs(101));
  ask("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(panelsShown, 2);
}

TEST_F(JoinedRuns, haveRequestsThatDoNotWaitForThoseOfOtherBrowsers) {
  int panelsShown = 0;
  platform.openPanel.whileShown = [&] {
    if (++panelsShown > 1) return;
    platform.grant(home(".config/opera"));
    ask("Opera");
    platform.dispatch.runUntilIdle();
    EXPECT_THAT(answers, ElementsAre("bookmarked: com.operasoftware.Opera "));
  };
  ask("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(answers, SizeIs(2));
}

TEST_F(JoinedRuns, areNotBroughtAboutByARequest) {
  platform.openPanel.agreesToAll = true;
  ask("Chromium");
  platform.dispatch.advance(60s);
  EXPECT_TRUE(platform.home.exists(kChromium));
}

}  // namespace
