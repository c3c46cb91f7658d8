// Background threads that come and go.

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <condition_variable>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Platform/Linux/threads/LinuxDispatch.h"

namespace {

using platform::linux_::ThreadPool;

TEST(Pool, runsEveryTask) {
  ThreadPool pool;
  std::latch done(1000);
  for (int task = 0; task < 1000; ++task) pool.submit([&] { done.count_down(); });
  done.wait();
}

TEST(Pool, hasNoThreadBeforeThereIsWork) {
  EXPECT_EQ(ThreadPool().threadCount(), 0U);
}

TEST(Pool, aTaskThatThrowsEndsAlone) {
  constexpr int kTasks = 100;
  ThreadPool pool;
  std::atomic<int> failures = 0;
  pool.setFailureHandler([&] { ++failures; });
  std::latch done(kTasks);
  for (int task = 0; task < kTasks; ++task) {
    pool.submit([&] { throw std::length_error("a site's name"); });
    pool.submit([&] { throw 1; });
    pool.submit([&] { done.count_down(); });
  }
  done.wait();
  EXPECT_TRUE(pool.shutDown());
  EXPECT_EQ(failures, 2 * kTasks);
}

TEST(Pool, aSerialQueueAndItsOperationsGoOnAfterATaskThatThrows) {
  platform::linux_::RunLoop loop;
  platform::linux_::LinuxDispatch dispatch(loop);
  std::atomic<int> failures = 0;
  dispatch.threadPool().setFailureHandler([&] { ++failures; });
  const auto fail = [] { throw std::length_error("a site's name"); };
  std::latch done(2);
  const auto queue = dispatch.makeSerialQueue("q");
  queue->async(fail);
  EXPECT_THROW(queue->sync(fail), std::length_error);
  queue->async([&] { done.count_down(); });
  std::atomic<bool> isCompleted = false;
  dispatch.makeOperationQueue()->addOperation({fail, [&] { isCompleted = true; }});
  dispatch.makeOperationQueue()->addOperation({[] {}, [&] { done.count_down(); }});
  done.wait();
  EXPECT_TRUE(dispatch.threadPool().shutDown());
  EXPECT_EQ(failures, 2);
  EXPECT_FALSE(isCompleted);
}

TEST(Pool, growsWhileItsThreadsAreStuck) {
  // More tasks that wait for each other than the pool normally runs at once.
  constexpr int kTasks = 60;
  ThreadPool pool;
  std::barrier together(kTasks);
  std::latch done(kTasks);
  for (int task = 0; task < kTasks; ++task) {
    pool.submit([&] {
      together.arrive_and_wait();
      done.count_down();
    });
  }
  done.wait();
}

TEST(Pool, doesNotCountThreadsThatSayThatTheyAreBlocked) {
  constexpr int kBlocked = 40;
  ThreadPool pool;
  std::latch open(1);
  std::latch blocked(kBlocked);
  std::latch done(kBlocked + 1);
  for (int task = 0; task < kBlocked; ++task) {
    pool.submit([&] {
      {
        const ThreadPool::Blocked waiting(pool);
        blocked.count_down();
        open.wait();
      }
      done.count_down();
    });
  }
  blocked.wait();
  std::latch ran(1);
  pool.submit([&] {
    ran.count_down();
    done.count_down();
  });
  ran.wait();  // no task was blocked
  open.count_down();
  done.wait();
}

TEST(Pool, hasAnUpperBound) {
  ThreadPool pool;
  std::latch open(1);
  std::latch done(3000);
  for (int task = 0; task < 3000; ++task) {
    pool.submit([&] {
      {
        const ThreadPool::Blocked waiting(pool);
        open.wait();
      }
      done.count_down();
    });
  }
  EXPECT_LE(pool.threadCount(), 1024U);
  open.count_down();
  done.wait();
}

TEST(Pool, isAsGoodAsNewAfterABurst) {
  // What a burst of short tasks has needed is freed with its threads.
  {
    ThreadPool pool;
    std::latch idle(1);
    pool.setIdleHandler([&] { idle.count_down(); });
    for (int burst = 0; burst < 50; ++burst) {
      std::latch done(6);
      for (int task = 0; task < 6; ++task) pool.submit([&] { done.count_down(); });
      done.wait();
    }
    idle.wait();
    while (pool.threadCount() > 0) std::this_thread::yield();
    pool.setIdleHandler(nullptr);
    std::latch ran(1);
    const std::thread::id here = std::this_thread::get_id();
    pool.submit([&] {
      EXPECT_NE(std::this_thread::get_id(), here);
      ran.count_down();
    });
    ran.wait();
  }
}

TEST(Pool, takesTasksOfHighPriorityFirst) {
  ThreadPool pool;
  std::mutex mutex;
  std::vector<std::string> order;
  std::latch open(1);
  // All threads that normally run are stuck until the end, so the one thread that is added for waiting tasks takes
  // both, in the pool's order.
  const unsigned busy = std::max(4U, 2 * std::thread::hardware_concurrency());
  std::latch started(static_cast<std::ptrdiff_t>(busy));
  std::latch done(static_cast<std::ptrdiff_t>(busy));
  std::latch noted(2);
  for (unsigned task = 0; task < busy; ++task) {
    pool.submit([&] {
      started.count_down();
      open.wait();
      done.count_down();
    });
  }
  started.wait();
  const auto note = [&](const char* name) {
    return [&, name] {
      {
        const std::lock_guard lock(mutex);
        order.emplace_back(name);
      }
      noted.count_down();
    };
  };
  pool.submit(note("standard"));
  pool.submit(note("high"), ThreadPool::Priority::high);
  noted.wait();
  EXPECT_EQ(order, (std::vector<std::string>{"high", "standard"}));
  open.count_down();
  done.wait();
}

TEST(Pool, shutsDownWithoutTheTasksThatWait) {
  ThreadPool pool;
  std::latch ran(1);
  pool.submit([&] { ran.count_down(); });
  ran.wait();
  EXPECT_TRUE(pool.shutDown());
  pool.submit([] { FAIL(); });
}

TEST(Pool, saysSoWhenATaskIsStuckAtTheEnd) {
  ThreadPool pool;
  std::latch started(1);
  std::latch open(1);
  std::latch done(1);
  pool.submit([&] {
    {
      const ThreadPool::Blocked waiting(pool);
      started.count_down();
      open.wait();
    }
    done.count_down();
  });
  started.wait();
  EXPECT_FALSE(pool.shutDown());
  open.count_down();
  done.wait();
  EXPECT_TRUE(pool.shutDown());
}

}  // namespace
