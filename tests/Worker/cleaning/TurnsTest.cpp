// Work that is asked for again and again: one at a time for each name.

#include <stdexcept>

#include "Worker/cleaning/Turns.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::WorkerTest;
using tidewell::Turns;

class TurnsOfWork : public WorkerTest {
 protected:
  /// Asks for work that notes its name and that mark when it runs.
  void ask(const std::string& name, const std::string& mark = "") {
    turns->ask(name, [this, name, mark] {
      begun.push_back(name + mark);
      return platform::BlockOperation{[this, name, mark] {
                                        done.push_back(name + mark);
                                        if (whileUnderWay) whileUnderWay();
                                      },
                                      nullptr};
    });
  }
  /// Lets the main queue run, and nothing in the background.
  void runMain() {
    while (platform.dispatch.runOneOnMain()) {
    }
  }

  const std::shared_ptr<Turns> turns = Turns::create();
  std::vector<std::string> begun;
  std::vector<std::string> done;
  std::function<void()> whileUnderWay;
};

TEST_F(TurnsOfWork, runInTheBackgroundOnce) {
  ask("a");
  EXPECT_THAT(begun, IsEmpty());
  runMain();
  EXPECT_THAT(begun, ElementsAre("a"));
  EXPECT_THAT(done, IsEmpty());
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(done, ElementsAre("a"));
}

TEST_F(TurnsOfWork, joinTheOneThatHasNotBegun) {
  for (const char* mark : {"1", "2", "3"}) ask("a", mark);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(done, ElementsAre("a1"));
}

TEST_F(TurnsOfWork, areSaidToBeUnderWayFromTheFirstToTheLast) {
  std::vector<bool> said;
  turns->setUnderWayHandler([&](bool isUnderWay) { said.push_back(isUnderWay); });
  ask("a");
  EXPECT_THAT(said, IsEmpty());
  runMain();
  ask("b");
  runMain();
  EXPECT_THAT(said, ElementsAre(true));
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(said, ElementsAre(true, false));
  ask("a");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(said, ElementsAre(true, false, true, false));
}

TEST_F(TurnsOfWork, followOnceHoweverOftenTheyAreAskedForWhileOneIsUnderWay) {
  ask("a", "1");
  runMain();
  for (int count = 0; count < 20'000; ++count) ask("a", "2");
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 0U);
  EXPECT_EQ(platform.dispatch.waitingInBackground(), 1U);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(done, ElementsAre("a1", "a2"));
}

TEST_F(TurnsOfWork, areNotUnderWayTogether) {
  ask("a", "1");
  runMain();
  whileUnderWay = [this] {
    whileUnderWay = nullptr;
    platform.dispatch.asBackgroundThread([this] { ask("a", "2"); });
    runMain();
    EXPECT_THAT(begun, ElementsAre("a1"));
  };
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(done, ElementsAre("a1", "a2"));
}

TEST_F(TurnsOfWork, ofOtherNamesDoNotWait) {
  ask("a");
  ask("b");
  runMain();
  EXPECT_THAT(begun, ElementsAre("a", "b"));
  EXPECT_EQ(platform.dispatch.waitingInBackground(), 2U);
}

TEST_F(TurnsOfWork, comeAgainAfterOneThatHasEnded) {
  for (int count = 0; count < 3; ++count) {
    ask("a");
    platform.dispatch.runUntilIdle();
  }
  EXPECT_THAT(done, SizeIs(3));
}

TEST_F(TurnsOfWork, thatFailWithAnExceptionHaveEnded) {
  ask("a", "1");
  whileUnderWay = [this] {
    whileUnderWay = nullptr;
    throw std::runtime_error("a site's doing");
  };
  EXPECT_THROW(platform.dispatch.runUntilIdle(), std::runtime_error);
  ask("a", "2");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(done, ElementsAre("a1", "a2"));
}

}  // namespace
