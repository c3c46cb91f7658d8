// Notifications through the desktop's service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/Linux/bus/BusNotificationCenter.h"
#include "tests/support/PrivateBus.h"

namespace {

using platform::UserNotification;
using platform::linux_::BusNotificationCenter;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::BusProgram;
using testing_support::runUntil;

constexpr char kName[] = "org.freedesktop.Notifications";
constexpr char kObject[] = "/org/freedesktop/Notifications";

struct Posted {
  std::string application, icon, summary, body;
  std::vector<std::string> actions;
  std::vector<std::string> hints;
};

class Delegate : public platform::UserNotificationCenterDelegate {
 public:
  explicit Delegate(BusNotificationCenter& center) : center_(center) {}
  bool userNotificationCenter_shouldPresentNotification(const UserNotification&) override { return presents; }
  void userNotificationCenter_didActivateNotification(const UserNotification& notification) override {
    activated.push_back(notification.title);
    activations.push_back(notification.activationType);
    carried = notification.userInfo;
    token = notification.activationToken;
    center_.removeDeliveredNotification(notification);
  }
  bool presents = true;
  std::vector<std::string> activated;
  std::vector<UserNotification::ActivationType> activations;
  std::map<std::string, std::string> carried;
  std::string token;

 private:
  BusNotificationCenter& center_;
};

class NotificationsOverTheBus : public ::testing::Test {
 protected:
  NotificationsOverTheBus() { center.setDelegate(&delegate); }

  void startService() {
    service = std::make_unique<BusProgram>(loop, kName, [this](sd_bus_message* call) {
      const std::string method = sd_bus_message_get_member(call);
      if (method == "GetCapabilities") {
        sd_bus_reply_method_return(call, "as", 3, "body", rendersMarkup ? "body-markup" : "persistence",
                                   showsButtons ? "actions" : "icon-static");
      } else if (method == "Notify") {
        if (refuses) {
          sd_bus_reply_method_errorf(call, "com.example.Error", "no");
          ++refused;
          return;
        }
        readPosted(call);
        sd_bus_reply_method_return(call, "u", static_cast<unsigned>(posted.size()));
      } else if (method == "CloseNotification") {
        unsigned id = 0;
        sd_bus_message_read(call, "u", &id);
        closed.push_back(id);
        sd_bus_reply_method_return(call, "");
      }
    });
  }

  void readPosted(sd_bus_message* call) {
    Posted notification;
    const char *application = nullptr, *icon = nullptr, *summary = nullptr, *body = nullptr, *text = nullptr;
    unsigned replaces = 7;
    sd_bus_message_read(call, "susss", &application, &replaces, &icon, &summary, &body);
    EXPECT_EQ(replaces, 0U);
    sd_bus_message_enter_container(call, 'a', "s");
    while (sd_bus_message_read(call, "s", &text) > 0) notification.actions.emplace_back(text);
    sd_bus_message_exit_container(call);
    sd_bus_message_enter_container(call, 'a', "{sv}");
    while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
      sd_bus_message_read(call, "s", &text);
      notification.hints.emplace_back(text);
      sd_bus_message_skip(call, "v");
      sd_bus_message_exit_container(call);
    }
    notification.application = application;
    notification.summary = summary;
    notification.body = body;
    posted.push_back(notification);
  }

  void schedule(const std::string& title, const std::string& subtitle) {
    UserNotification notification;
    notification.title = title;
    notification.subtitle = subtitle;
    notification.hasActionButton = false;
    center.scheduleNotification(notification);
  }
  void click(unsigned id, const char* action = "default") {
    sd_bus_emit_signal(service->bus(), kObject, kName, "ActionInvoked", "us", id, action);
  }
  bool waitFor(const std::function<bool()>& condition) { return runUntil(loop, condition); }

  testing_support::PrivateBus privateBus;
  RunLoop loop;
  std::unique_ptr<SessionBus> bus = std::move(*SessionBus::open(loop));
  BusNotificationCenter center{*bus, "Tidewell", "tidewell-settings"};
  Delegate delegate{center};
  std::unique_ptr<BusProgram> service;
  bool rendersMarkup = false;
  bool showsButtons = true;
  bool refuses = false;
  int refused = 0;
  std::vector<Posted> posted;
  std::vector<unsigned> closed;
};

TEST_F(NotificationsOverTheBus, haveSummaryAndBodyAndNothingButTheClick) {
  startService();
  schedule("Tidewell", "removed <b> & done");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
  EXPECT_EQ(posted[0].application, "Tidewell");
  EXPECT_EQ(posted[0].summary, "Tidewell");
  EXPECT_EQ(posted[0].body, "removed <b> & done");
  EXPECT_THAT(posted[0].actions, ElementsAre("default", ""));
  EXPECT_THAT(posted[0].hints, ElementsAre("desktop-entry", "suppress-sound"));
}

TEST_F(NotificationsOverTheBus, escapeTheBodyWhereMarkupIsRendered) {
  rendersMarkup = true;
  startService();
  schedule("<b>", "a <b> & \"c\"");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
  EXPECT_EQ(posted[0].summary, "<b>");
  EXPECT_THAT(posted[0].body, ::testing::StartsWith("a &lt;b&gt; &amp; "));
}

TEST_F(NotificationsOverTheBus, areTakenAwayWhenClicked) {
  startService();
  schedule("first", "");
  schedule("second", "");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 2; }));
  bool idle = false;
  loop.after(std::chrono::milliseconds(20), [&] { idle = true; });
  waitFor([&] { return idle; });
  click(99);
  click(1, "other");
  click(2);
  ASSERT_TRUE(waitFor([&] { return !closed.empty(); }));
  EXPECT_THAT(closed, ElementsAre(2U));
  EXPECT_EQ(delegate.activated.size(), 1U);
}

TEST_F(NotificationsOverTheBus, haveAButtonAndTellWhetherItWasPressed) {
  startService();
  UserNotification notification;
  notification.title = "first";
  notification.actionButtonTitle = "Allow…";
  notification.userInfo = {{"which", "one"}};
  center.scheduleNotification(notification);
  center.scheduleNotification(notification);
  ASSERT_TRUE(waitFor([&] { return posted.size() == 2; }));
  EXPECT_THAT(posted[0].actions, ElementsAre("default", "", "button", "Allow…"));
  click(1, "button");
  click(2);
  ASSERT_TRUE(waitFor([&] { return delegate.activated.size() == 2; }));
  using Activation = UserNotification::ActivationType;
  EXPECT_THAT(delegate.activations, ElementsAre(Activation::kActionButtonClicked, Activation::kContentsClicked));
  EXPECT_THAT(delegate.carried, ElementsAre(::testing::Pair("which", "one")));
}

TEST_F(NotificationsOverTheBus, passOnTheDesktopsTokenForAClick) {
  startService();
  schedule("first", "");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
  sd_bus_emit_signal(service->bus(), kObject, kName, "ActivationToken", "us", 1U, "token-1");
  click(1);
  ASSERT_TRUE(waitFor([&] { return delegate.activated.size() == 1; }));
  EXPECT_EQ(delegate.token, "token-1");
}

TEST_F(NotificationsOverTheBus, haveNoButtonWhereTheServiceShowsNone) {
  showsButtons = false;
  startService();
  UserNotification notification;
  notification.title = "first";
  notification.actionButtonTitle = "Allow…";
  center.scheduleNotification(notification);
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
  EXPECT_THAT(posted[0].actions, ElementsAre("default", ""));
}

TEST_F(NotificationsOverTheBus, haveNoButtonThatIsNotWanted) {
  startService();
  UserNotification notification;
  notification.hasActionButton = false;
  notification.actionButtonTitle = "Allow…";
  center.scheduleNotification(notification);
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
  EXPECT_THAT(posted[0].actions, ElementsAre("default", ""));
}

TEST_F(NotificationsOverTheBus, ignoreClicksOfAnotherProgram) {
  startService();
  schedule("first", "");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
  BusProgram stranger(loop, "");
  sd_bus_emit_signal(stranger.bus(), kObject, kName, "ActionInvoked", "us", 1U, "default");
  bool idle = false;
  loop.after(std::chrono::milliseconds(50), [&] { idle = true; });
  waitFor([&] { return idle; });
  EXPECT_THAT(delegate.activated, IsEmpty());
}

TEST_F(NotificationsOverTheBus, areNotPostedWhenTheDelegateSaysSo) {
  startService();
  delegate.presents = false;
  schedule("hidden", "");
  bool ran = false;
  loop.async([&] { ran = true; });
  waitFor([&] { return ran; });
  delegate.presents = true;
  schedule("shown", "");
  ASSERT_TRUE(waitFor([&] { return !posted.empty(); }));
  EXPECT_EQ(posted[0].summary, "shown");
}

TEST_F(NotificationsOverTheBus, areSilentlyLostWithoutAService) {
  schedule("nobody", "");
  bool idle = false;
  loop.after(std::chrono::milliseconds(50), [&] { idle = true; });
  waitFor([&] { return idle; });
  startService();  // it gets only what is posted after its start
  schedule("somebody", "");
  ASSERT_TRUE(waitFor([&] { return !posted.empty(); }));
  EXPECT_EQ(posted[0].summary, "somebody");
}

TEST_F(NotificationsOverTheBus, surviveAServiceThatRefuses) {
  refuses = true;
  startService();
  schedule("refused", "");
  ASSERT_TRUE(waitFor([&] { return refused == 1; }));
  refuses = false;
  schedule("accepted", "");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 1; }));
}

TEST_F(NotificationsOverTheBus, areDeliveredAtTheirDate) {
  startService();
  UserNotification later;
  later.title = "later";
  later.deliveryDate = std::chrono::system_clock::now() + std::chrono::milliseconds(30);
  center.scheduleNotification(later);
  schedule("now", "");
  ASSERT_TRUE(waitFor([&] { return posted.size() == 2; }));
  EXPECT_EQ(posted[0].summary, "now");
  EXPECT_EQ(posted[1].summary, "later");
}

}  // namespace
