// The main thread's loop.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Platform/Linux/threads/RunLoop.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::RunLoop;
using ::testing::ElementsAre;

class Loop : public ::testing::Test {
 protected:
  RunLoop loop;
};

TEST_F(Loop, runsTasksInTheOrderInWhichTheyCame) {
  std::vector<int> order;
  for (int number = 0; number < 5; ++number) loop.async([&, number] { order.push_back(number); });
  loop.async([this] { loop.stop(7); });
  EXPECT_EQ(loop.run(), 7);
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Loop, takesTasksFromOtherThreads) {
  std::thread other([this] {
    loop.async([this] {
      EXPECT_TRUE(loop.isMainThread());
      loop.stop(0);
    });
    EXPECT_FALSE(loop.isMainThread());
  });
  loop.run();
  other.join();
}

TEST_F(Loop, letsAnotherThreadWaitForItsTask) {
  std::atomic<bool> ran = false;
  std::thread other([&] {
    loop.sync([&] { ran = true; });
    EXPECT_TRUE(ran);
    loop.async([this] { loop.stop(0); });
  });
  loop.run();
  other.join();
}

TEST_F(Loop, aTaskThatThrowsEndsAlone) {
  int failures = 0;
  loop.setFailureHandler([&] { ++failures; });
  bool isDone = false;
  const auto fail = [] { throw std::length_error("a site's name"); };
  loop.async([&] {  // and ends neither the task that runs the loop, nor its turn
    loop.async(fail);
    loop.async([&] { isDone = true; });
    loop.runModally([&] { return isDone; });
    loop.after(1ms, fail);
    loop.after(2ms, [this] { loop.stop(3); });
  });
  EXPECT_EQ(loop.run(), 3);
  EXPECT_TRUE(isDone);
  EXPECT_EQ(failures, 2);
}

TEST_F(Loop, whatATaskThrowsReachesTheThreadThatWaitsForIt) {
  int failures = 0;
  loop.setFailureHandler([&] { ++failures; });
  std::thread other([&] {
    EXPECT_THROW(loop.sync([] { throw std::length_error("a site's name"); }), std::length_error);
    loop.async([this] { loop.stop(0); });
  });
  loop.run();
  other.join();
  EXPECT_EQ(failures, 0);
}

/// Keeps the thread busy, like a long task.
void workFor(std::chrono::milliseconds duration) {
  const auto end = std::chrono::steady_clock::now() + duration;
  while (std::chrono::steady_clock::now() < end) {
  }
}

TEST_F(Loop, countsADelayFromTheMomentAtWhichItIsAskedFor) {
  std::chrono::steady_clock::time_point asked;
  std::chrono::steady_clock::time_point ran;
  loop.async([&] {
    workFor(40ms);
    asked = std::chrono::steady_clock::now();
    loop.after(30ms, [&] {
      ran = std::chrono::steady_clock::now();
      loop.stop(0);
    });
  });
  loop.run();
  EXPECT_GE(ran - asked, 30ms);
}

TEST_F(Loop, countsADelayFromTheMomentAtWhichAnotherThreadAsksForIt) {
  std::chrono::steady_clock::time_point asked;
  std::chrono::steady_clock::time_point ran;
  loop.async([&] {
    std::thread other([&] {
      workFor(40ms);
      asked = std::chrono::steady_clock::now();
      loop.after(30ms, [&] {
        ran = std::chrono::steady_clock::now();
        loop.stop(0);
      });
    });
    other.join();
  });
  loop.run();
  EXPECT_GE(ran - asked, 30ms);
}

TEST_F(Loop, runsDelayedTasksInTheOrderOfTheirTimes) {
  std::vector<int> order;
  loop.after(20ms, [&] { order.push_back(2); });
  loop.after(10ms, [&] { order.push_back(1); });
  loop.after(-5ms, [&] { order.push_back(0); });
  std::thread([&] { loop.after(30ms, [this] { loop.stop(0); }); }).detach();
  loop.run();
  EXPECT_THAT(order, ElementsAre(0, 1, 2));
}

TEST_F(Loop, runsDelayedTasksInTheOrderOfTheirTimesAlsoWhenAllAreDueAlready) {
  constexpr int kTasks = 20;
  std::vector<int> order;
  std::vector<int> expected;
  for (int task = 0; task < kTasks; ++task) {
    expected.push_back(task);
    const int place = task * 7 % kTasks;
    loop.after(std::chrono::microseconds(100 * place), [&order, place] { order.push_back(place); });
  }
  loop.after(3ms, [this] { loop.stop(0); });
  workFor(5ms);
  loop.run();
  EXPECT_EQ(order, expected);
}

TEST_F(Loop, goesOnUnderneathAModalTask) {
  std::vector<std::string> order;
  bool answered = false;
  loop.async([&] {
    order.push_back("panel up");
    loop.runModally([&] { return answered; });
    order.push_back("panel down");
    loop.stop(0);
  });
  loop.async([&] { order.push_back("quit noticed"); });
  loop.after(1ms, [&] { answered = true; });
  loop.run();
  EXPECT_THAT(order, ElementsAre("panel up", "quit noticed", "panel down"));
}

TEST_F(Loop, holdsBackWhatAnotherThreadWaitsForWhileAModalTaskRuns) {
  std::vector<std::string> order;
  bool answered = false;
  std::thread other;
  loop.async([&] {
    other = std::thread([&] {
      loop.sync([&] {
        order.push_back("second panel");
        loop.stop(0);
      });
    });
    loop.after(20ms, [&] {
      order.push_back("first answered");
      answered = true;
    });
    loop.runModally([&] { return answered; });
    order.push_back("first down");
  });
  loop.run();
  other.join();
  EXPECT_THAT(order, ElementsAre("first answered", "first down", "second panel"));
}

TEST_F(Loop, endsModalTasksWhenItIsStopped) {
  bool down = false;
  loop.async([&] {
    loop.runModally([] { return false; });
    down = true;
  });
  loop.async([this] { loop.stop(3); });
  EXPECT_EQ(loop.run(), 3);
  EXPECT_TRUE(down);
}

TEST_F(Loop, dropsWhatWaitsWhenToldTo) {
  auto held = std::make_shared<int>(0);
  loop.async([held] { ++*held; });
  loop.after(1h, [held] { ++*held; });
  EXPECT_EQ(held.use_count(), 3);
  loop.discardTasks();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(Loop, endsWithStatusZeroOnATermination) {
  const auto runAndEnd = [] {  // in a process of its own, whose signals stay blocked
    RunLoop own;
    own.stopOnSignals();
    own.async([] { ::kill(::getpid(), SIGTERM); });
    std::exit(own.run());
  };
  EXPECT_EXIT(runAndEnd(), ::testing::ExitedWithCode(0), "");
}

TEST_F(Loop, survivesAMillionTasks) {
  int ran = 0;
  std::function<void()> next = [&] {
    if (++ran == 1'000'000) {
      loop.stop(0);
    } else {
      loop.async(next);
    }
  };
  loop.async(next);
  loop.run();
  EXPECT_EQ(ran, 1'000'000);
}

}  // namespace
