// Work that follows after a delay: one to come for each name.

#include "Worker/cleaning/LaterTurns.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::WorkerTest;
using tidewell::LaterTurns;

class WorkForLater : public WorkerTest {
 protected:
  void ask(const std::string& name) {
    turns->ask(name, [this, name] { done.push_back(name + " at " + std::to_string(now.count())); });
  }
  /// Lets this many seconds pass, one by one.
  void pass(std::chrono::seconds time) {
    for (const std::chrono::seconds end = now + time; now < end;) {
      ++now;
      platform.dispatch.advance(1s);
    }
  }

  const std::shared_ptr<LaterTurns> turns = LaterTurns::create(8s);
  std::chrono::seconds now{0};
  std::vector<std::string> done;
};

TEST_F(WorkForLater, comesAfterTheDelay) {
  ask("a");
  pass(7s);
  EXPECT_THAT(done, IsEmpty());
  pass(60s);
  EXPECT_THAT(done, ElementsAre("a at 8"));
}

TEST_F(WorkForLater, comesOnceMoreForThoseWhoAskMeanwhile) {
  ask("a");
  pass(2s);
  for (int count = 0; count < 20'000; ++count) ask("a");
  EXPECT_EQ(platform.dispatch.waitingTimers(), 1U);
  pass(60s);
  EXPECT_THAT(done, ElementsAre("a at 8", "a at 16"));  // 14 seconds after they asked, and not less than 8
}

TEST_F(WorkForLater, isNotPutOffByThoseWhoAskForEver) {
  for (int second = 0; second < 30; ++second) {
    ask("a");
    pass(1s);
  }
  EXPECT_THAT(done, ElementsAre("a at 8", "a at 16", "a at 24"));
  pass(60s);
  EXPECT_THAT(done, ElementsAre("a at 8", "a at 16", "a at 24", "a at 32", "a at 40"));
}

TEST_F(WorkForLater, ofOtherNamesHasATimeOfItsOwn) {
  ask("a");
  pass(3s);
  ask("b");
  pass(60s);
  EXPECT_THAT(done, ElementsAre("a at 8", "b at 11"));
}

}  // namespace
