// The delay of the machine's shutdown, with a login manager on a bus of the test's own in the place of the system's.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "Platform/Linux/bus/ShutdownDelay.h"
#include "tests/support/PrivateBus.h"

namespace {

using platform::linux_::RunLoop;
using platform::linux_::ShutdownDelay;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kVariable[] = "DBUS_SYSTEM_BUS_ADDRESS";

class ShutdownDelays : public ::testing::Test {
 protected:
  ShutdownDelays() { ::setenv(kVariable, std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1); }
  ~ShutdownDelays() override {
    closeEnds();
    ::unsetenv(kVariable);
  }

  void inhibit(sd_bus_message* call) {
    if (sd_bus_message_is_method_call(call, "org.freedesktop.login1.Manager", "Inhibit") <= 0) return;
    std::array<const char*, 4> texts{};
    sd_bus_message_read(call, "ssss", &texts[0], &texts[1], &texts[2], &texts[3]);
    asked.assign(texts.begin(), texts.end());
    ++calls;
    if (refuses) {
      sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "not for you");
      return;
    }
    closeEnds();
    ASSERT_EQ(::pipe(ends.data()), 0);
    sd_bus_reply_method_return(call, "h", ends[1]);
    ::close(std::exchange(ends[1], -1));
  }
  /// Whether somebody has the delay; the answer on its way counts.
  bool isHeld() {
    pollfd end{ends[0], POLLIN, 0};
    return ::poll(&end, 1, 0) == 0;
  }
  void closeEnds() {
    for (int& end : ends) {
      if (end >= 0) ::close(std::exchange(end, -1));
    }
  }
  /// What was sent by now has arrived and been handled: answers to later calls have come after it.
  void settle() {
    for (int round = 0; round < 2; ++round) {
      bool isAnswered = false;
      const auto answered = [](sd_bus_message*, void* flag, sd_bus_error*) {
        *static_cast<bool*>(flag) = true;
        return 0;
      };
      sd_bus_call_method_async(manager.bus(), nullptr, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "GetId", answered, &isAnswered, "");
      ASSERT_TRUE(testing_support::runUntil(loop, [&] { return isAnswered; }));
    }
  }

  testing_support::PrivateBus privateBus;
  RunLoop loop;
  std::vector<std::string> asked;
  unsigned calls = 0;
  bool refuses = false;
  std::array<int, 2> ends{-1, -1};
  testing_support::BusProgram manager{loop, "org.freedesktop.login1", [this](sd_bus_message* call) { inhibit(call); }};
  ShutdownDelay delay{loop, "Tidewell", "cleaning"};
};

TEST_F(ShutdownDelays, areAskedForAndHoldUntilTheyEnd) {
  delay.begin();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return calls == 1; }));
  EXPECT_THAT(asked, ElementsAre("shutdown", "Tidewell", "cleaning", "delay"));
  settle();
  EXPECT_TRUE(isHeld());
  delay.end();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return !isHeld(); }));
}

TEST_F(ShutdownDelays, areAskedForOnceUntilTheyEnd) {
  delay.begin();
  delay.begin();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return calls == 1; }));
  delay.end();
  delay.end();
  delay.begin();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return calls == 2; }));
  settle();
  EXPECT_TRUE(isHeld());
}

TEST_F(ShutdownDelays, thatAreRefusedDoNothing) {
  refuses = true;
  delay.begin();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return calls == 1; }));
  settle();
  delay.end();
  EXPECT_EQ(calls, 1U);
}

TEST_F(ShutdownDelays, withoutASystemBusDoNothing) {
  ::setenv(kVariable, "unix:path=/nowhere/at/all", 1);
  delay.begin();
  settle();
  delay.end();
  EXPECT_THAT(asked, IsEmpty());
}

}  // namespace
