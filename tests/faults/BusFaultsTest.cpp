// Requests for folders, and runs that notify, in which one call for the bus goes wrong, for every call by its number:
// what is granted is cleaned, every request is answered, and the next panel and the next notification come as ever.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>

#include "Platform/Linux/bus/BusNotificationCenter.h"
#include "Platform/Linux/bus/BusOpenPanel.h"
#include "Platform/Linux/bus/OpenPanelNames.h"
#include "Platform/Linux/host/Sanitizers.h"
#include "tests/faults/BusFaultPoints.h"
#include "tests/faults/FaultStride.h"
#include "tests/support/LinuxHomeTest.h"
#include "tests/support/PrivateBus.h"

namespace {

using platform::FileURL;
using platform::linux_::BusSlot;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using testing_support::BusFault;
using testing_support::BusFaultPoints;
using testing_support::BusProgram;
using testing_support::runUntil;

constexpr char kNotifications[] = "org.freedesktop.Notifications";
constexpr char kNotificationsObject[] = "/org/freedesktop/Notifications";
constexpr int kRoundTrips = 8;  // more than any call here has answers that lead to further calls

/// The programs that show notifications and panels.
class Desktop {
 public:
  explicit Desktop(RunLoop& loop)
      : notifications_(loop, kNotifications, [this](sd_bus_message* call) { answer(call); }),
        panels_(loop, platform::linux_::kOpenPanelName, [this](sd_bus_message* call) { agree(call); }) {}

  int shown = 0;
  int asked = 0;
  std::string folder;  // that the person chooses

 private:
  void answer(sd_bus_message* call) {
    const std::string method = sd_bus_message_get_member(call);
    if (method == "GetCapabilities") sd_bus_reply_method_return(call, "as", 1, "body-markup");
    if (method == "Notify") sd_bus_reply_method_return(call, "u", static_cast<unsigned>(++shown));
    if (method == "Ping") sd_bus_reply_method_return(call, "");
  }
  void agree(sd_bus_message* call) {
    ++asked;
    sd_bus_reply_method_return(call, "us", 1U, FileURL(folder, true).absoluteString().c_str());
  }

  BusProgram notifications_;
  BusProgram panels_;
};

/// A home with a browser whose data folder is granted and whose caches are not, and the worker on a bus.
class WorkerOnTheBus : public testing_support::LinuxHomeTest {
 public:
  WorkerOnTheBus() {
    testing_support::fillInstallation(platform.home, browser("Firefox"), ".mozilla/firefox", ".cache/mozilla/firefox",
                                      /*isCleaned=*/false);
    platform.grant(home(".mozilla/firefox"));
    platform.shared().insert_or_assign(tidewell::kDisplayNotificationsKey, true);
    platform.shared().insert_or_assign(tidewell::kNotifyAlwaysKey, true);  // the second cleaning finds nothing
    desktop.folder = home(".cache/mozilla/firefox");
    const platform::Platform& p = platform::Platform::current();
    onTheBus_ = std::make_unique<platform::Platform>(platform::Platform{
        p.mainBundle, p.dispatch, p.fileManager, p.fileManagerOnOneMount, p.log, panel_, p.securityScopedResources,
        p.system, p.userDefaults, center_, p.userScripts, p.workspace, p.cells, p.confinement});
    platform::Platform::install(onTheBus_.get());
    worker_ = makeWorker();
  }
  void TestBody() override {}

  sd_bus* bus() const { return bus_->get(); }

  void request() {
    worker_->answerFrom_reply("org.mozilla.firefox", [this](const std::string&) { ++answers; });
    platform.dispatch.runUntilIdle();
  }
  void quitAndNotify() {
    quit("Firefox");
    for (int trip = 0; trip < kRoundTrips; ++trip) roundTrip();
  }
  bool holdsCookies() const { return platform.home.exists(".mozilla/firefox/ann.default/cookies.sqlite"); }
  bool holdsCaches() const { return platform.home.exists(".cache/mozilla/firefox/ann.default/cache2"); }

  int answers = 0;

 private:
  /// When it ends, everything that was sent to the desktop before has been answered.
  void roundTrip() {
    bool isBack = false;
    const auto answered = [](sd_bus_message*, void* data, sd_bus_error*) {
      *static_cast<bool*>(data) = true;
      return 0;
    };
    sd_bus_slot* slot = nullptr;
    {
      const BusFaultPoints::Pause pause;
      ASSERT_GE(sd_bus_call_method_async(bus(), &slot, kNotifications, kNotificationsObject, kNotifications, "Ping",
                                         answered, &isBack, ""),
                0);
    }
    const BusSlot waiting(slot);
    ASSERT_TRUE(runUntil(loop_, [&isBack] { return isBack; }));
  }

  RunLoop loop_;

 public:
  Desktop desktop{loop_};

 private:
  std::unique_ptr<SessionBus> bus_ = std::move(*SessionBus::open(loop_));
  platform::linux_::BusNotificationCenter center_{*bus_, "Tidewell", "tidewell"};
  platform::linux_::BusOpenPanel panel_{*bus_, platform.fileManager,
                                        [this](const FileURL& url) { platform.scopes.openForProcess(url); }};
  std::unique_ptr<platform::Platform> onTheBus_;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker_;
};

constexpr std::uint64_t kUsualStride = platform::linux_::kIsSanitized ? 7 : 1;  // there a call takes many times as long

class BusFaults : public ::testing::TestWithParam<BusFault> {};

INSTANTIATE_TEST_SUITE_P(OfOneCall, BusFaults,
                         ::testing::Values(BusFault::kFails, BusFault::kIsInterrupted, BusFault::kIsShort));

TEST_P(BusFaults, neitherStopTheCleaningNorLeaveAnythingHanging) {
  const testing_support::PrivateBus privateBus;
  std::uint64_t count = 1;
  for (std::uint64_t number = 0; number <= count; number += testing_support::faultStride(kUsualStride)) {
    SCOPED_TRACE("at call " + std::to_string(number));
    WorkerOnTheBus run;
    ASSERT_TRUE(run.holdsCookies() && run.holdsCaches());
    {
      const BusFaultPoints faults(run.bus(), number, GetParam());
      run.request();
      run.quitAndNotify();
      if (number == 0) count = faults.count();
    }
    EXPECT_EQ(run.answers, 1);
    EXPECT_FALSE(run.holdsCookies());
    if (number == 0) {
      EXPECT_FALSE(run.holdsCaches());
      EXPECT_GT(run.desktop.shown, 0);
    }
    const int shown = run.desktop.shown;
    run.request();
    run.quitAndNotify();
    EXPECT_EQ(run.answers, 2);
    EXPECT_FALSE(run.holdsCaches());
    EXPECT_GT(run.desktop.shown, shown);
    if (HasFailure()) return;
  }
  std::cout << count << " points of failure\n";
  EXPECT_GT(count, GetParam() == BusFault::kFails ? 30U : 10U);
}

TEST(ConnectionFaults, meanNoConnection) {
  const testing_support::PrivateBus privateBus;
  RunLoop loop;
  std::uint64_t number = 0;
  for (bool isThere = false; !isThere;) {
    const BusFaultPoints faults(nullptr, ++number);
    const auto bus = SessionBus::open(loop);
    isThere = bus && !(*bus)->requestName("com.example.Name");
    EXPECT_EQ(isThere, faults.count() < number) << number;
  }
  EXPECT_GT(number, 4U);
}

}  // namespace
