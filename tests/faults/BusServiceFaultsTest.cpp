// The worker's services on the bus, with one call that goes wrong, for every call by its number: whoever asks gets an
// answer, if only that there is none, and what comes next is served as ever.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <iostream>
#include <thread>

#include "Platform/Linux/bus/AnnouncedQuits.h"
#include "Platform/Linux/bus/BusListener.h"
#include "Platform/Linux/bus/BusService.h"
#include "Platform/Linux/bus/SessionEnd.h"
#include "tests/faults/BusFaultPoints.h"
#include "tests/support/PrivateBus.h"

namespace {

using platform::RemoteReply;
using platform::RemoteType;
using platform::Value;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using testing_support::BusFault;
using testing_support::BusFaultPoints;
using testing_support::BusProgram;
using testing_support::runUntil;

constexpr char kName[] = "com.example.Service";
constexpr char kObject[] = "/com/example/Service";
constexpr char kAgent[] = "com.example.Agent";
constexpr char kReports[] = "com.example.Reports";
constexpr char kWorkspace[] = "com.emberlinestudio.Tidewell.Workspace";

platform::linux_::BusServiceNames names() {
  auto names =
      platform::linux_::BusServiceNames::forIdentifier(kName, kAgent, "answer", std::string("text\0answer\0", 12));
  names.object = kObject;
  return names;
}

/// Answers each call at once with what it was asked.
class Echo : public platform::RemoteListenerDelegate {
 public:
  bool listener_shouldAcceptNewConnection(platform::RemoteConnection& connection) override {
    connection.setExportedInterface(
        {kAgent, "answer", [](const std::string& text, const platform::Reply& reply) { reply(text); }});
    connection.resume();
    return true;
  }
};

platform::RemoteInterface reports() {
  return {kReports,
          {{"Ask",
            {{"text", RemoteType::kText}},
            "answer",
            [](const std::vector<Value>& arguments, const RemoteReply& reply) {
              reply({.value = {{"asked", arguments[0]}}});
            }}},
          {{"Told", {{"text", RemoteType::kText}}}}};
}

/// The services, as the worker has them.
struct Services {
  explicit Services(SessionBus& bus, std::size_t& quits)
      : announced(bus, [&quits](const platform::ApplicationNotification&) { ++quits; }),
        listener(bus, names()),
        service(bus, kObject, reports()) {
    listener.setDelegate(&echo);
    listener.resume();
  }

  Echo echo;
  platform::linux_::AnnouncedQuits announced;
  platform::linux_::BusListener listener;
  platform::linux_::BusService service;
};

/// A program that uses them.
class Caller {
 public:
  explicit Caller(RunLoop& loop) : loop_(loop), program_(loop, "") {
    const auto told = [](sd_bus_message*, void* data, sd_bus_error*) {
      ++static_cast<Caller*>(data)->heard;
      return 0;
    };
    sd_bus_match_signal(program_.bus(), nullptr, nullptr, kObject, kReports, "Told", told, this);
  }

  /// Whether every call was answered. What it was answered is counted.
  bool uses(Services& services) {
    answered = errors = 0;
    sd_bus_emit_signal(program_.bus(), "/any", kWorkspace, "DidTerminateApplication", "ss", "Firefox", "org.f");
    ask(kAgent, "answer");
    ask(kReports, "Ask");
    services.service.emit("Told", {std::string("news")});
    return runUntil(loop_, [this] { return answered + errors == 2; });
  }

  unsigned answered = 0;
  unsigned errors = 0;
  std::size_t heard = 0;

 private:
  void ask(const char* interface, const char* method) {
    const auto back = [](sd_bus_message* reply, void* data, sd_bus_error*) {
      auto* self = static_cast<Caller*>(data);
      ++(sd_bus_message_is_method_error(reply, nullptr) != 0 ? self->errors : self->answered);
      return 0;
    };
    sd_bus_call_method_async(program_.bus(), nullptr, kName, kObject, interface, method, back, this, "s", "text");
  }

  RunLoop& loop_;
  BusProgram program_;
};

class ServiceFaults : public ::testing::TestWithParam<BusFault> {};

TEST_P(ServiceFaults, leaveNobodyWithoutAnAnswer) {
  const testing_support::PrivateBus privateBus;
  std::uint64_t count = 1;
  for (std::uint64_t number = 0; number <= count; ++number) {
    SCOPED_TRACE("at call " + std::to_string(number));
    RunLoop loop;
    const auto bus = std::move(*SessionBus::open(loop));
    ASSERT_FALSE(bus->requestName(kName));
    std::size_t quits = 0;
    Caller caller(loop);
    std::unique_ptr<Services> services;
    bool isWhole = true;  // all has begun to be served
    {
      const BusFaultPoints faults(bus->get(), number, GetParam());
      services = std::make_unique<Services>(*bus, quits);
      isWhole = GetParam() != BusFault::kFails || number == 0 || faults.count() < number;
      ASSERT_TRUE(caller.uses(*services));
      if (number == 0) count = faults.count();
    }
    if (!isWhole) continue;
    EXPECT_TRUE(caller.answered == 2 || (number != 0 && GetParam() == BusFault::kFails));
    const std::size_t quitsBefore = quits;
    const std::size_t heardBefore = caller.heard;
    ASSERT_TRUE(caller.uses(*services));
    EXPECT_EQ(caller.answered, 2U);
    EXPECT_TRUE(runUntil(loop, [&] { return quits > quitsBefore && caller.heard > heardBefore; }));
    if (HasFailure()) return;
  }
  std::cout << count << " points of failure\n";
  EXPECT_GT(count, GetParam() == BusFault::kFails ? 10U : 5U);
}

INSTANTIATE_TEST_SUITE_P(OfOneCall, ServiceFaults,
                         ::testing::Values(BusFault::kFails, BusFault::kIsInterrupted, BusFault::kIsShort));

/// A service manager that is stopping everything, on a thread of its own: the worker waits for its answer.
class StoppingManager {
 public:
  StoppingManager() {
    std::promise<void> isThere;
    thread_ = std::thread([this, &isThere] {
      RunLoop loop;
      BusProgram program(loop, "org.freedesktop.systemd1",
                         [](sd_bus_message* call) { sd_bus_reply_method_return(call, "v", "s", "stopping"); });
      loop_ = &loop;
      isThere.set_value();
      loop.run();
      isTold_.get_future().wait();  // until then the loop is in use by the other thread
    });
    isThere.get_future().wait();
  }
  ~StoppingManager() {
    loop_->async([this] { loop_->stop(0); });
    isTold_.set_value();
    thread_.join();
  }
  StoppingManager(const StoppingManager&) = delete;
  StoppingManager& operator=(const StoppingManager&) = delete;

 private:
  RunLoop* loop_ = nullptr;
  std::promise<void> isTold_;
  std::thread thread_;
};

TEST(SessionEndFaults, areTakenForAnotherReasonToEnd) {
  const testing_support::PrivateBus privateBus;
  const StoppingManager manager;
  std::uint64_t count = 1;
  for (std::uint64_t number = 0; number <= count; ++number) {
    SCOPED_TRACE("at call " + std::to_string(number));
    RunLoop loop;
    const auto bus = std::move(*SessionBus::open(loop));
    const BusFaultPoints faults(bus->get(), number);
    const bool isStopping = platform::linux_::isServiceManagerStopping(bus->get());
    EXPECT_EQ(isStopping, number == 0);
    EXPECT_TRUE(number == 0 || faults.count() >= number);
    if (number == 0) count = faults.count();
  }
  EXPECT_GT(count, 2U);
}

}  // namespace
