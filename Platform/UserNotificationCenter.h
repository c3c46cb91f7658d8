// The desktop's notifications.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "Platform/Value.h"

namespace platform {

struct UserNotification {
  std::string title;
  std::string subtitle;
  std::optional<std::string> informativeText;
  bool hasActionButton = true;
  std::string actionButtonTitle;                // empty: no button
  std::map<std::string, std::string> userInfo;  // the sender's own; comes back when the person does something
  std::optional<std::string> soundName;         // absent: silent
  Date deliveryDate{};                          // a past date delivers at once
  std::string identifier;                       // set by the centre when it schedules

  enum class ActivationType { kNone, kContentsClicked, kActionButtonClicked };
  ActivationType activationType = ActivationType::kNone;  // what the person has done; set by the centre
  std::string activationToken;  // with it a window may come to the front for that; "" for none; set by the centre
};

/// Called on the main thread.
class UserNotificationCenterDelegate {
 public:
  virtual ~UserNotificationCenterDelegate() = default;

  /// Whether the notification is shown even though the program is in front.
  virtual bool userNotificationCenter_shouldPresentNotification(const UserNotification& notification) = 0;

  /// The person clicked the notification, or its button.
  virtual void userNotificationCenter_didActivateNotification(const UserNotification& notification) = 0;
};

/// Where the desktop shows no buttons, a notification is shown without its own.
/// scheduleNotification() may be called from any thread, the others on the main thread.
class UserNotificationCenter {
 public:
  virtual ~UserNotificationCenter() = default;

  /// Null for none. The delegate must exist until it is replaced.
  virtual void setDelegate(UserNotificationCenterDelegate* delegate) = 0;

  /// Delivers the notification at its date. A failed delivery is not reported.
  virtual void scheduleNotification(UserNotification notification) = 0;

  virtual void removeDeliveredNotification(const UserNotification& notification) = 0;
};

}  // namespace platform
