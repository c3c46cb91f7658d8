// The contract of the queues, for both implementations: the deterministic one of the tests, and the one with threads.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "Platform/Linux/threads/LinuxDispatch.h"
#include "tests/support/FakeDispatch.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

struct Deterministic {
  testing_support::Journal journal;
  testing_support::FakeDispatch dispatch{journal};

  void runUntil(const std::function<bool()>& done) {
    while (!done()) dispatch.advance(1s);
  }
};

struct Threaded {
  platform::linux_::RunLoop loop;
  platform::linux_::LinuxDispatch dispatch{loop};

  void runUntil(const std::function<bool()>& done) {
    // Background threads don't wake the loop when the condition becomes true, so it is checked every millisecond.
    int rounds = 0;
    std::function<void()> again = [&] {
      if (done() || ++rounds == 10'000) return loop.stop(0);
      loop.after(1ms, again);
    };
    again();
    loop.run();
    EXPECT_TRUE(done());
  }
};

template <typename Implementation>
class DispatchContract : public ::testing::Test {
 protected:
  void note(const std::string& text) {
    const std::lock_guard lock(mutex_);
    notes_.push_back(text);
  }
  std::vector<std::string> notes() const {
    const std::lock_guard lock(mutex_);
    return notes_;
  }
  void runUntilNotes(std::size_t count) {
    implementation.runUntil([&] { return notes().size() >= count; });
  }

  Implementation implementation;
  platform::Dispatch& dispatch = implementation.dispatch;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> notes_;
};

using Implementations = ::testing::Types<Deterministic, Threaded>;
TYPED_TEST_SUITE(DispatchContract, Implementations);

TYPED_TEST(DispatchContract, theTestsThreadIsTheMainThread) {
  EXPECT_TRUE(this->dispatch.isMainThread());
}

TYPED_TEST(DispatchContract, mainQueueRunsOnTheMainThreadInOrder) {
  for (const char* name : {"a", "b", "c"}) {
    this->dispatch.mainQueue().async(
        [this, name] { this->note(name + std::to_string(this->dispatch.isMainThread())); });
  }
  EXPECT_THAT(this->notes(), ElementsAre());
  this->runUntilNotes(3);
  EXPECT_THAT(this->notes(), ElementsAre("a1", "b1", "c1"));
}

TYPED_TEST(DispatchContract, globalQueueRunsInTheBackground) {
  this->dispatch.globalHighPriorityQueue().async([this] { this->note(std::to_string(this->dispatch.isMainThread())); });
  this->runUntilNotes(1);
  EXPECT_THAT(this->notes(), ElementsAre("0"));
}

TYPED_TEST(DispatchContract, serialQueueHasItsLabel) {
  EXPECT_EQ(this->dispatch.makeSerialQueue("label")->label(), "label");
}

TYPED_TEST(DispatchContract, serialQueueRunsAsynchronousTasksInTheBackgroundInOrder) {
  const auto queue = this->dispatch.makeSerialQueue("q");
  for (int number = 0; number < 5; ++number) {
    queue->async(
        [this, number] { this->note(std::to_string(number) + std::to_string(this->dispatch.isMainThread())); });
  }
  this->runUntilNotes(5);
  EXPECT_THAT(this->notes(), ElementsAre("00", "10", "20", "30", "40"));
}

TYPED_TEST(DispatchContract, serialQueueRunsASynchronousTaskOnTheCallingThread) {
  const auto queue = this->dispatch.makeSerialQueue("q");
  queue->sync([this] { this->note(std::to_string(this->dispatch.isMainThread())); });
  EXPECT_THAT(this->notes(), ElementsAre("1"));
}

TYPED_TEST(DispatchContract, serialQueueMayBeDroppedBeforeItsTaskHasRun) {
  this->dispatch.makeSerialQueue("q")->async([this] { this->note("ran"); });
  this->runUntilNotes(1);
}

TYPED_TEST(DispatchContract, backgroundTaskCanWaitForTheMainThread) {
  this->dispatch.globalHighPriorityQueue().async([this] {
    this->dispatch.mainQueue().sync([this] { this->note("main " + std::to_string(this->dispatch.isMainThread())); });
    this->note("back " + std::to_string(this->dispatch.isMainThread()));
  });
  this->runUntilNotes(2);
  EXPECT_THAT(this->notes(), ElementsAre("main 1", "back 0"));
}

TYPED_TEST(DispatchContract, operationRunsInTheBackgroundAndThenItsCompletion) {
  const auto queue = this->dispatch.makeOperationQueue();
  queue->addOperation({[this] { this->note("work " + std::to_string(this->dispatch.isMainThread())); },
                       [this] { this->note("completion " + std::to_string(this->dispatch.isMainThread())); }});
  this->runUntilNotes(2);
  EXPECT_THAT(this->notes(), ElementsAre("work 0", "completion 0"));
}

TYPED_TEST(DispatchContract, operationNeedsNoCompletionAndNoQueueThatStays) {
  this->dispatch.makeOperationQueue()->addOperation({[this] { this->note("a"); }, nullptr});
  this->dispatch.makeOperationQueue()->addOperation({[this] { this->note("b"); }, nullptr});
  this->runUntilNotes(2);
  EXPECT_THAT(this->notes(), UnorderedElementsAre("a", "b"));
}

TYPED_TEST(DispatchContract, delayedTasksRunInTheOrderOfTheirTimesOnTheirQueue) {
  auto& main = this->dispatch.mainQueue();
  this->dispatch.after(30ms, main, [this] { this->note("late " + std::to_string(this->dispatch.isMainThread())); });
  this->dispatch.after(10ms, main, [this] { this->note("early"); });
  this->runUntilNotes(2);
  EXPECT_THAT(this->notes(), ElementsAre("early", "late 1"));
}

TYPED_TEST(DispatchContract, delayedTaskOfTheGlobalQueueRunsInTheBackground) {
  this->dispatch.after(1ms, this->dispatch.globalHighPriorityQueue(),
                       [this] { this->note(std::to_string(this->dispatch.isMainThread())); });
  this->runUntilNotes(1);
  EXPECT_THAT(this->notes(), ElementsAre("0"));
}

}  // namespace
