// The end of the session: what it waits for, and what it leaves to the next one.

#include "tests/support/EndingsTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;

class SessionEndings : public testing_support::EndingsTest {};

TEST_F(SessionEndings, ofTheSessionWaitForTheBrowserAndCleanItOnce) {
  starts();
  sessionEnds();
  EXPECT_FALSE(hasEnded);
  platform.dispatch.advance(19s);
  EXPECT_FALSE(hasEnded);
  quits();
  platform.dispatch.runUntilIdle();
  EXPECT_TRUE(hasEnded);
  EXPECT_TRUE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(SessionEndings, ofTheSessionDoNotWaitForAnotherSecondRun) {
  starts();
  quits();
  platform.dispatch.runUntilIdle();
  platform.home.file(kCookies);
  sessionEnds();
  EXPECT_TRUE(hasEnded);
  EXPECT_TRUE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(SessionEndings, ofTheSessionCleanABrowserThatHasEndedAndIsNotKnownToHaveQuit) {
  starts();
  platform.workspace.running.clear();
  sessionEnds();
  EXPECT_TRUE(hasEnded);
  EXPECT_TRUE(isClean());
}

TEST_F(SessionEndings, ofTheSessionWaitTwentySecondsForABrowserAndOweItItsCleaning) {
  starts();
  sessionEnds();
  platform.dispatch.advance(20s);
  EXPECT_TRUE(hasEnded);
  EXPECT_FALSE(isClean());
  EXPECT_TRUE(isOwed());
}

TEST_F(SessionEndings, ofTheSessionWaitForNothingElse) {
  sessionEnds();
  EXPECT_TRUE(hasEnded);
}

TEST_F(SessionEndings, ofTheSessionAskNobody) {
  platform.own().clear();  // the grants
  starts();
  sessionEnds();
  quits();
  platform.dispatch.runUntilIdle();
  EXPECT_TRUE(hasEnded);
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(SessionEndings, ofTheSessionAskForNoFolder) {
  std::erase_if(platform.own(), [](const auto& entry) { return entry.first.starts_with("bd_"); });
  starts();
  quits();  // whose run has not begun
  sessionEnds();
  EXPECT_TRUE(hasEnded);
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(SessionEndings, ofTheSessionShowNoFurtherQuestion) {
  std::erase_if(platform.own(), [](const auto& entry) { return entry.first.starts_with("bd_"); });
  platform.openPanel.whileShown = [this] { worker->sessionEnds([this] { hasEnded = true; }); };
  starts();
  quits();
  platform.dispatch.runUntilIdle();
  EXPECT_TRUE(hasEnded);
  EXPECT_THAT(panels(), ::testing::SizeIs(1));
}

TEST_F(SessionEndings, ofTheSessionShowNoQuestionOfARequestThatWaited) {
  std::erase_if(platform.own(), [](const auto& entry) { return entry.first.starts_with("bd_"); });
  bool isAnswered = false;
  worker->answerFrom_reply(kChromium, [&](const std::string&) { isAnswered = true; });
  sessionEnds();
  EXPECT_TRUE(hasEnded);
  EXPECT_TRUE(isAnswered);
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(SessionEndings, ofTheSessionMakeTheSecondRunOnceThoughAnotherBrowserIsWaitedFor) {
  enable({kChromium, "org.mozilla.firefox"});
  starts();
  quits();
  platform.dispatch.runUntilIdle();
  platform.workspace.start("org.mozilla.firefox");
  sessionEnds();
  EXPECT_FALSE(hasEnded);
  platform.dispatch.advance(10s);
  EXPECT_THAT(platform.log.records(), ::testing::SizeIs(1));
}

}  // namespace
