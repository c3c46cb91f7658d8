// Work that is shared by two threads.

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

#include "Platform/Linux/files/SharedWork.h"

namespace {

using platform::linux_::SharedWork;
using Worker = SharedWork::Worker;

TEST(SharedWork, wantsNoHelpForLittle) {
  SharedWork work(/*isAllowed=*/true, /*worthwhile=*/10);
  work.find(9);
  EXPECT_FALSE(work.isWanted());
  work.find(1);
  EXPECT_TRUE(work.isWanted());
}

TEST(SharedWork, wantsNoHelpWhereItIsNotAllowed) {
  SharedWork work(/*isAllowed=*/false, /*worthwhile=*/1);
  work.find(1000);
  EXPECT_FALSE(work.isWanted());
}

TEST(SharedWork, isDoneByAnotherThreadMeanwhile) {
  SharedWork work(true, 1);
  work.find(1);
  ASSERT_TRUE(work.isWanted());
  SharedWork::Parts parts;
  std::latch isBegun(1);
  Worker by = SharedWork::kCaller;
  work.give(parts, [&](Worker worker) {
    by = worker;
    isBegun.count_down();
  });
  isBegun.wait();  // for ever, if nobody else did it
  work.waitFor(parts, SharedWork::kCaller);
  EXPECT_TRUE(parts.areDone());
  EXPECT_EQ(by, SharedWork::kHelper);
}

TEST(SharedWork, isNotWantedTwiceByOneThread) {
  SharedWork work(true, 1);
  work.find(1);
  ASSERT_TRUE(work.isWanted());
  SharedWork::Parts parts;
  std::latch mayEnd(1);
  work.give(parts, [&](Worker) { mayEnd.wait(); });
  EXPECT_FALSE(work.isWanted());
  mayEnd.count_down();
  work.waitFor(parts, SharedWork::kCaller);
}

TEST(SharedWork, isTakenBackWhenNobodyElseHasBegunIt) {
  SharedWork work(/*isAllowed=*/false, 1);
  SharedWork::Parts parts;
  std::vector<Worker> by;
  for (int part = 0; part < 3; ++part) {
    work.give(parts, [&by](Worker worker) { by.push_back(worker); });
  }
  work.waitFor(parts, SharedWork::kCaller);
  EXPECT_EQ(by, std::vector(3, SharedWork::kCaller));
}

TEST(SharedWork, isGivenBackToWhoWaits) {
  SharedWork work(true, 1);
  work.find(1);
  ASSERT_TRUE(work.isWanted());
  SharedWork::Parts parts;
  std::latch isBegun(1);
  Worker by = SharedWork::kHelper;
  work.give(parts, [&](Worker worker) {
    isBegun.count_down();
    while (!work.isWanted()) std::this_thread::yield();  // until the caller waits
    SharedWork::Parts inner;
    std::latch isDone(1);
    work.give(inner, [&](Worker other) {
      by = other;
      isDone.count_down();
    });
    isDone.wait();
    work.waitFor(inner, worker);
  });
  isBegun.wait();  // by the other thread: this one is here
  work.waitFor(parts, SharedWork::kCaller);
  EXPECT_EQ(by, SharedWork::kCaller);
}

/// Gives half of the count away again and again.
void countDown(SharedWork& work, Worker worker, int count, std::atomic<int>& done) {
  SharedWork::Parts parts;
  for (; count > 0; --count, ++done) {
    if (count < 2 || !work.isWanted()) continue;
    const int half = count / 2;
    count -= half;
    work.give(parts, [&work, &done, half](Worker other) { countDown(work, other, half, done); });
  }
  work.waitFor(parts, worker);
}

TEST(SharedWork, isDoneWholeHoweverItIsDivided) {
  for (int round = 0; round < 50; ++round) {
    SharedWork work(true, 1);
    work.find(1);
    std::atomic<int> done = 0;
    countDown(work, SharedWork::kCaller, 20'000, done);
    ASSERT_EQ(done, 20'000);
  }
}

}  // namespace
