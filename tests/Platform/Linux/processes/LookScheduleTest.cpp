// When the process table is looked at.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Platform/Linux/processes/LookSchedule.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::LookSchedule;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Time = LookSchedule::Time;

class Looks : public ::testing::Test {
 protected:
  void opened() { take(schedule.opened(now)); }

  /// Lets time pass, with each look when it is due; every look that finds something says so.
  void pass(Time time) {
    for (const Time end = now + time; now < end;) {
      ++now;
      while (!due.empty() && due.front() <= now) {
        schedule.looked(due.front());
        due.erase(due.begin());
        looks.push_back(now);
      }
    }
  }
  void take(const std::vector<Time>& times) {
    due.insert(due.end(), times.begin(), times.end());
    std::sort(due.begin(), due.end());
  }
  /// Somebody opens the file every other millisecond.
  void flood(Time time) {
    for (const Time end = now + time; now < end;) {
      opened();
      pass(2ms);
    }
  }
  std::ptrdiff_t looksFrom(Time from) const {
    return std::count_if(looks.begin(), looks.end(), [from](Time look) { return look > from; });
  }

  LookSchedule schedule;
  Time now{1'000'000};
  std::vector<Time> due;
  std::vector<Time> looks;
};

TEST_F(Looks, comeAtOnceAndAgainUntilTheStartMustHaveHappened) {
  const Time start = now;
  opened();
  EXPECT_EQ(due.front(), start);
  pass(10s);
  std::vector<Time::rep> after;
  for (const Time look : looks) after.push_back((look - start).count());
  EXPECT_THAT(after, ElementsAre(1, 2, 10, 30, 60, 100, 200, 400, 800, 1500, 3000));
}

TEST_F(Looks, ofSeveralOpeningsAtATimeAreOnes) {
  opened();
  EXPECT_THAT(schedule.opened(now), IsEmpty());
}

TEST_F(Looks, areTenASecondAtMostWhileAFileIsOpenedAgainAndAgain) {
  flood(5s);
  const Time from = now;
  flood(20s);
  EXPECT_LE(looksFrom(from), 200);
  EXPECT_GE(looksFrom(from), 190);
  const auto after = std::find_if(looks.begin(), looks.end(), [from](Time look) { return look > from; });
  for (auto look = after + 1; look != looks.end(); ++look) EXPECT_GE(*look - *(look - 1), 100ms);
}

TEST_F(Looks, areNeverFarBetweenInAFlood) {
  flood(10s);
  for (auto look = looks.begin() + 1; look != looks.end(); ++look) EXPECT_LE(*look - *(look - 1), 100ms);
}

TEST_F(Looks, afterTheLastOpeningOfAFloodAreAWholeSeries) {
  flood(10s);
  const Time last = now;
  pass(10s);
  for (const Time delay : {100ms, 200ms, 400ms, 800ms, 1500ms, 3000ms}) {
    EXPECT_THAT(looks,
                Contains(::testing::AllOf(::testing::Ge(last - 2ms + delay), ::testing::Le(last + delay + 100ms))))
        << delay.count();
  }
}

TEST_F(Looks, areAtOnceAgainWhenOneHasFoundSomething) {
  flood(10s);
  schedule.found();
  EXPECT_THAT(schedule.opened(now), Contains(now));
}

TEST_F(Looks, areAtOnceAgainWhenAFloodIsOver) {
  flood(10s);
  pass(3s);
  EXPECT_THAT(schedule.opened(now), Contains(now));
}

TEST_F(Looks, afterAChangeThatIsNobodyElsesAreAtOnceInAFloodToo) {
  flood(10s);
  EXPECT_THAT(schedule.changed(now), Contains(now));
  // And they use nothing up.
  LookSchedule calm;
  for (int count = 0; count < 100; ++count) calm.changed(now);
  EXPECT_THAT(calm.opened(now + 1ms), Contains(now + 1ms));
}

}  // namespace
