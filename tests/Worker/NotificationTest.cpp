// The one notification, and the click on it.

#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::WorkerTest;

class Notification : public WorkerTest {
 protected:
  void display() { tidewell::WorkerAppDelegate::displayNotificationWithTitle_andText("Tidewell", "done"); }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Notification, isNotShownUnlessThePersonAllowsIt) {
  display();
  platform.shared().insert_or_assign("displayNotifications", false);
  display();
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(Notification, isNotShownForASettingThatIsNoBoolean) {
  for (const platform::Value& value : {platform::Value(1), platform::Value("YES"), platform::Value(1.0)}) {
    platform.shared().insert_or_assign("displayNotifications", value);
    display();
  }
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
}

TEST_F(Notification, isSilentAndWithoutButtonsWithTheTextAsItsSubtitle) {
  platform.shared().insert_or_assign("displayNotifications", true);
  const auto before = std::chrono::system_clock::now();
  display();
  ASSERT_THAT(platform.notificationCenter.scheduled(), SizeIs(1));
  const platform::UserNotification& notification = platform.notificationCenter.scheduled()[0];
  EXPECT_EQ(notification.title, "Tidewell");
  EXPECT_EQ(notification.subtitle, "done");
  EXPECT_FALSE(notification.informativeText.has_value());
  EXPECT_FALSE(notification.hasActionButton);
  EXPECT_FALSE(notification.soundName.has_value());
  EXPECT_GE(notification.deliveryDate, before);
  EXPECT_LE(notification.deliveryDate, std::chrono::system_clock::now());
}

TEST_F(Notification, isShownEvenWhenTheProgramIsInFront) {
  EXPECT_TRUE(worker->userNotificationCenter_shouldPresentNotification({}));
}

TEST_F(Notification, leavesTheCentreWhenItIsClicked) {
  platform.shared().insert_or_assign("displayNotifications", true);
  display();
  display();
  EXPECT_THAT(platform.notificationCenter.delivered(), ElementsAre("1", "2"));
  platform.notificationCenter.click("1");
  EXPECT_THAT(platform.workspace.opened, IsEmpty());
  EXPECT_THAT(platform.notificationCenter.delivered(), ElementsAre("2"));
}

}  // namespace
