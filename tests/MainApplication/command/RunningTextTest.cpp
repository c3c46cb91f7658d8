// What the command says of a browser that runs.

#include <gtest/gtest.h>

#include <cstdlib>

#include "MainApplication/command/RunningText.h"

namespace {

using tidewell::RunningBrowser;
using tidewell::runningState;
using tidewell::runningText;

class RunningText : public ::testing::Test {
 protected:
  RunningText() {
    ::setenv("TZ", "UTC-2", 1);  // two hours before UTC
    ::tzset();
  }
  ~RunningText() override {
    ::unsetenv("TZ");
    ::tzset();
  }
  static RunningBrowser browser(std::optional<bool> hasWindow) {
    return {std::chrono::system_clock::from_time_t(1'700'000'000), hasWindow};
  }
};

TEST_F(RunningText, hasTheLocalTime) {
  EXPECT_EQ(runningText(browser(true)), "runs since 2023-11-15 00:13");
}

TEST_F(RunningText, saysThatThereIsNoWindowOrThatItCannotBeTold) {
  EXPECT_EQ(runningText(browser(false)), "runs since 2023-11-15 00:13, without a window: it is cleaned when it quits");
  EXPECT_EQ(runningText(browser({})), "runs since 2023-11-15 00:13; whether it has a window can't be told");
}

TEST_F(RunningText, forProgramsHasTheTimeOfUtc) {
  EXPECT_EQ(runningState(browser(true)).dump(), R"({"since":"2023-11-14T22:13:20Z","window":true})");
  EXPECT_EQ(runningState(browser(false)).dump(), R"({"since":"2023-11-14T22:13:20Z","window":false})");
  EXPECT_EQ(runningState(browser({})).dump(), R"({"since":"2023-11-14T22:13:20Z","window":null})");
}

}  // namespace
