// The service on the session bus.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "Platform/Linux/bus/BusListener.h"
#include "Platform/Linux/bus/NameOwner.h"
#include "Platform/Linux/host/FileDescriptor.h"
#include "tests/support/PrivateBus.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::BusListener;
using platform::linux_::BusServiceNames;
using platform::linux_::FileDescriptor;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using testing_support::BusProgram;
using testing_support::runUntil;

constexpr char kInterface[] = "com.example.Agent";

class Delegate : public platform::RemoteListenerDelegate {
 public:
  bool listener_shouldAcceptNewConnection(platform::RemoteConnection& connection) override {
    connection.setExportedInterface({kInterface, "ask", [this](const std::string& argument, platform::Reply reply) {
                                       call(argument, std::move(reply));
                                     }});
    if (resumes) connection.resume();
    return accepts;
  }

  bool accepts = true;
  bool resumes = true;
  std::function<void(const std::string&, platform::Reply)> call;
};

class Listener : public ::testing::Test {
 protected:
  Listener() {
    EXPECT_FALSE(listener.requestName());
    listener.setDelegate(&delegate);
    listener.resume();
  }

  /// Calls the service as another program does; its reply is appended to `answers`.
  void ask(const std::string& argument) {
    const auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) {
      const char* text = nullptr;
      const bool failed = sd_bus_message_is_method_error(reply, nullptr) != 0;
      if (!failed) sd_bus_message_read(reply, "s", &text);
      static_cast<std::vector<std::string>*>(data)->push_back(failed ? "error" : text);
      return 0;
    };
    sd_bus_call_method_async(caller.bus(), nullptr, "_7X.com.example.Service", "/com/example/Service", kInterface,
                             "ask", answered, &answers, "s", argument.c_str());
  }

  testing_support::PrivateBus privateBus;
  RunLoop loop;
  std::unique_ptr<SessionBus> bus = std::move(*SessionBus::open(loop));
  BusListener listener{*bus, BusServiceNames::forIdentifier("7X.com.example.Service", kInterface, "ask",
                                                            std::string("question\0answer\0", 16))};
  Delegate delegate;
  BusProgram caller{loop, ""};
  std::vector<std::string> answers;
};

TEST_F(Listener, namesAreMadeOfTheIdentifier) {
  const auto names = BusServiceNames::forIdentifier("com.example.App", "i", "m", "");
  EXPECT_EQ(names.name, "com.example.App");
  EXPECT_EQ(names.object, "/example/App");
  EXPECT_EQ(BusServiceNames::forIdentifier("7X.com.example.Service", "i", "m", "").name, "_7X.com.example.Service");
}

TEST_F(Listener, deliversTheArgumentAndTheAnswer) {
  delegate.call = [](const std::string& argument, const platform::Reply& reply) { reply("got " + argument); };
  ask("é");
  ASSERT_TRUE(runUntil(loop, [&] { return !answers.empty(); }));
  EXPECT_EQ(answers[0], "got é");
}

TEST_F(Listener, takesAnAnswerLaterAndFromAnotherThread) {
  platform::Reply kept;
  delegate.call = [&](const std::string&, platform::Reply reply) { kept = std::move(reply); };
  ask("x");
  ASSERT_TRUE(runUntil(loop, [&] { return static_cast<bool>(kept); }));
  EXPECT_TRUE(answers.empty());
  std::thread other([reply = std::exchange(kept, nullptr)] { reply("late"); });
  ASSERT_TRUE(runUntil(loop, [&] { return !answers.empty(); }));
  other.join();
  EXPECT_EQ(answers[0], "late");
}

// The address sanitizer finds a leaked call at the end of the program.
TEST_F(Listener, letsGoOfACallWhoseReplyIsDroppedByAnotherThreadWhenTheLoopHasEnded) {
  platform::Reply kept;
  delegate.call = [&](const std::string&, platform::Reply reply) { kept = std::move(reply); };
  ask("x");
  ASSERT_TRUE(runUntil(loop, [&] { return static_cast<bool>(kept); }));
  std::thread([reply = std::exchange(kept, nullptr)] {}).join();
}

TEST_F(Listener, neverAnswersWhenTheReplyIsDropped) {
  int dropped = 0;
  delegate.call = [&](const std::string& argument, const platform::Reply& reply) {
    if (argument == "last") reply("answer");
    ++dropped;
  };
  for (int call = 0; call < 1000; ++call) ask("x");
  ask("last");
  ASSERT_TRUE(runUntil(loop, [&] { return dropped == 1001 && !answers.empty(); }));
  EXPECT_THAT(answers, ::testing::ElementsAre("answer"));
}

TEST_F(Listener, deliversNothingOfAConnectionThatIsRefusedOrNotResumed) {
  int calls = 0;
  delegate.call = [&](const std::string&, const platform::Reply&) { ++calls; };
  delegate.accepts = false;
  ask("refused");
  delegate.accepts = true;
  bool asked = false;
  loop.async([&] { asked = true; });
  ASSERT_TRUE(runUntil(loop, [&] { return asked; }));
  delegate.resumes = false;
  ask("not resumed");
  // The reply to a later call shows that the calls before it have been handled.
  bool pinged = false;
  const auto ponged = [](sd_bus_message*, void* data, sd_bus_error*) {
    *static_cast<bool*>(data) = true;
    return 0;
  };
  sd_bus_call_method_async(caller.bus(), nullptr, "_7X.com.example.Service", "/", "org.freedesktop.DBus.Peer", "Ping",
                           ponged, &pinged, "");
  ASSERT_TRUE(runUntil(loop, [&] { return pinged; }));
  EXPECT_EQ(calls, 0);
}

TEST_F(Listener, dropsACallWithAnArgumentThatIsLongerThanAnyName) {
  std::vector<std::string> calls;
  delegate.call = [&](const std::string& argument, const platform::Reply& reply) {
    calls.push_back(argument);
    reply("answer");
  };
  const std::string longest(255, 'x');
  ask(longest + "x");
  ask(std::string(10'000'000, 'x'));
  ask(longest);
  ASSERT_TRUE(runUntil(loop, [&] { return !answers.empty(); }));
  EXPECT_THAT(calls, ::testing::ElementsAre(longest));
  EXPECT_THAT(answers, ::testing::ElementsAre("answer"));
}

TEST_F(Listener, refusesCallsBeyondThoseThatWaitForTheirReplies) {
  std::vector<platform::Reply> kept;
  delegate.call = [&](const std::string&, platform::Reply reply) { kept.push_back(std::move(reply)); };
  for (unsigned call = 0; call < BusListener::kMostPending + 100; ++call) ask("x");
  ASSERT_TRUE(runUntil(loop, [&] { return answers.size() == 100; }));
  EXPECT_THAT(answers, ::testing::Each("error"));
  ASSERT_EQ(kept.size(), BusListener::kMostPending);
  for (const platform::Reply& reply : kept) reply("answer");
  kept.clear();
  ASSERT_TRUE(runUntil(loop, [&] { return answers.size() == BusListener::kMostPending + 100; }));
  EXPECT_EQ(answers.back(), "answer");
  ask("x");
  ASSERT_TRUE(runUntil(loop, [&] { return !kept.empty(); }));
}

TEST_F(Listener, survivesACallerThatHasGone) {
  platform::Reply kept;
  delegate.call = [&](const std::string&, platform::Reply reply) { kept = std::move(reply); };
  {
    BusProgram shortLived(loop, "");
    sd_bus_call_method_async(shortLived.bus(), nullptr, "_7X.com.example.Service", "/com/example/Service", kInterface,
                             "ask", nullptr, nullptr, "s", "x");
    ASSERT_TRUE(runUntil(loop, [&] { return static_cast<bool>(kept); }));
  }
  kept("to nobody");
  delegate.call = [](const std::string&, const platform::Reply& reply) { reply("still there"); };
  ask("x");
  ASSERT_TRUE(runUntil(loop, [&] { return !answers.empty(); }));
}

TEST_F(Listener, answersCallsWithOtherArgumentsWithAnError) {
  const auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) {
    static_cast<std::vector<std::string>*>(data)->push_back(
        sd_bus_message_is_method_error(reply, nullptr) != 0 ? "error" : "");
    return 0;
  };
  sd_bus_call_method_async(caller.bus(), nullptr, "_7X.com.example.Service", "/com/example/Service", kInterface, "ask",
                           answered, &answers, "u", 5U);
  ASSERT_TRUE(runUntil(loop, [&] { return !answers.empty(); }));
  EXPECT_EQ(answers[0], "error");
}

TEST_F(Listener, saysSoWhenTheNameIsTaken) {
  const auto second = SessionBus::open(loop);
  BusListener late(**second, BusServiceNames::forIdentifier("7X.com.example.Service", kInterface, "ask", ""));
  EXPECT_EQ(late.requestName(), std::errc::file_exists);
}

/// A process that owned the name and has ended, while another one that it started still holds its connection.
class EndedOwner {
 public:
  explicit EndedOwner(const char* name) {
    int ends[2];
    if (::pipe(ends) != 0) std::abort();
    const pid_t owner = ::fork();
    if (owner == 0) {
      sd_bus* connection = nullptr;
      if (sd_bus_open_user(&connection) < 0 || sd_bus_request_name(connection, name, 0) < 0) ::_exit(1);
      if (::fork() != 0) ::_exit(0);
      ::close(ends[1]);
      char byte = 0;
      (void)!::read(ends[0], &byte, 1);
      ::_exit(0);
    }
    ::close(ends[0]);
    int status = -1;
    ::waitpid(owner, &status, 0);
    EXPECT_EQ(status, 0);
    end_ = FileDescriptor(ends[1]);
  }
  ~EndedOwner() { lastProcessEnds(); }

  void lastProcessEnds() { end_.reset(); }

 private:
  FileDescriptor end_;
};

TEST_F(Listener, takesANameWhoseOwnerHasEndedOnceTheBusKnowsIt) {
  EndedOwner owner("com.example.Killed");
  const auto second = std::move(*SessionBus::open(loop));
  const auto begun = std::chrono::steady_clock::now();
  std::thread later([&] {
    std::this_thread::sleep_for(200ms);
    owner.lastProcessEnds();
  });
  EXPECT_FALSE(second->requestName("com.example.Killed"));
  EXPECT_GE(std::chrono::steady_clock::now() - begun, 200ms);
  later.join();
}

TEST_F(Listener, waitsForANameOnlySoLong) {
  EndedOwner owner("com.example.Killed");
  EXPECT_FALSE(platform::linux_::ownerRuns(bus->get(), "com.example.Killed"));
  EXPECT_FALSE(platform::linux_::waitUntilFree("com.example.Killed", 50ms));
  EXPECT_TRUE(platform::linux_::waitUntilFree("com.example.OfNobody", 50ms));
  EXPECT_TRUE(platform::linux_::ownerRuns(bus->get(), "_7X.com.example.Service"));
  EXPECT_FALSE(platform::linux_::ownerRuns(bus->get(), "com.example.OfNobody"));
}

TEST(Bus, thatIsNotThereIsAnError) {
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  RunLoop loop;
  EXPECT_FALSE(SessionBus::open(loop));
  ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

TEST(Bus, thatGoesAwayIsTold) {
  RunLoop loop;
  auto privateBus = std::make_unique<testing_support::PrivateBus>();
  const auto bus = std::move(*SessionBus::open(loop));
  bool gone = false;
  bus->setDisconnectHandler([&] { gone = true; });
  privateBus.reset();
  EXPECT_TRUE(runUntil(loop, [&] { return gone; }));
}

}  // namespace
