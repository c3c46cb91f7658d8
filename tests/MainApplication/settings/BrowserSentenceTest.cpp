// The one thing that a browser's row says.

#include <gtest/gtest.h>

#include "MainApplication/settings/BrowserState.h"

namespace {

using tidewell::BrowserState;
using tidewell::Report;
using tidewell::RunningBrowser;
using tidewell::sentenceOn;
using Allowed = BrowserState::Allowed;

BrowserState cleanedBrowser(Allowed folders = Allowed::kAll) {
  BrowserState state;
  state.isEnabled = true;
  state.folders = folders;
  return state;
}

Report reportOfNow(tidewell::Left left = tidewell::Left::kNothing) {
  Report report;
  const auto now = std::chrono::time_point_cast<platform::Date::duration>(std::chrono::system_clock::now());
  report.runs.push_back({now, now});
  tidewell::StoreReport store;
  store.outcome.removed = 3;
  store.outcome.bytes = 19'000'000;
  store.outcome.left = left;
  report.stores.push_back(store);
  return report;
}

bool says(const BrowserState& state, const std::string& text) {
  return sentenceOn(state).find(text) != std::string::npos;
}

TEST(BrowserSentence, isThatItIsNotCleaned_whatEverElseThereIs) {
  BrowserState state = cleanedBrowser(Allowed::kNone);
  state.isEnabled = false;
  state.last = reportOfNow();
  EXPECT_EQ(sentenceOn(state), "Not cleaned");
}

TEST(BrowserSentence, isThatItNeedsPermission_alsoForSomeOfItsFolders) {
  EXPECT_EQ(sentenceOn(cleanedBrowser(Allowed::kNone)), "Needs permission");
  EXPECT_EQ(sentenceOn(cleanedBrowser(Allowed::kSome)), "Needs permission");
}

TEST(BrowserSentence, isThatItWaitsForAnAnswer_beforeAllElse) {
  BrowserState state = cleanedBrowser(Allowed::kNone);
  state.isAsking = true;
  EXPECT_EQ(sentenceOn(state), "Waiting for your answer…");
}

TEST(BrowserSentence, isThatItRunsInTheBackground_onlyIfItCertainlyHasNoWindow) {
  BrowserState state = cleanedBrowser();
  state.running = RunningBrowser{std::chrono::system_clock::now(), false};
  EXPECT_TRUE(says(state, "Runs in the background since "));
  state.running->hasWindow = std::nullopt;
  EXPECT_EQ(sentenceOn(state), "Cleaned when it quits");
}

TEST(BrowserSentence, isTheLastCleaning_withItsSize) {
  BrowserState state = cleanedBrowser();
  state.last = reportOfNow();
  EXPECT_TRUE(says(state, "Cleaned "));
  EXPECT_TRUE(says(state, ", 19"));
}

TEST(BrowserSentence, isThatTheLastCleaningLeftSomething) {
  BrowserState state = cleanedBrowser();
  state.last = reportOfNow(tidewell::Left::kInUse);
  EXPECT_TRUE(says(state, "Partly cleaned "));
  EXPECT_NE(sentenceOn(*state.last).find("1 item was in use, and was left"), std::string::npos);
}

TEST(BrowserSentence, isThatItWasNeverRun_whereThereIsNothingOfIt) {
  EXPECT_EQ(sentenceOn(cleanedBrowser(Allowed::kNothingThere)), "Not run yet");
}

}  // namespace
