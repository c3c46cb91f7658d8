// Notifications through the desktop's notification service (Desktop Notifications Specification, version 1.2).
//
// Without such a service, or when it refuses, nothing is shown and no error is reported. The service's signals are
// received only while a notification is up.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "Platform/Linux/bus/SessionBus.h"
#include "Platform/UserNotificationCenter.h"

namespace platform::linux_ {

class BusNotificationCenter : public UserNotificationCenter {
 public:
  /// Of the service that shows them.
  struct Capabilities {
    bool markup = false;   // it renders markup in bodies
    bool actions = false;  // it shows buttons
  };

  /// `applicationName` is given to the service as the sender of notifications. The bus must outlive the object.
  BusNotificationCenter(SessionBus& bus, std::string applicationName, std::string desktopEntry);
  ~BusNotificationCenter() override;

  void setDelegate(UserNotificationCenterDelegate* delegate) override { delegate_ = delegate; }
  void scheduleNotification(UserNotification notification) override;
  void removeDeliveredNotification(const UserNotification& notification) override;

 private:
  struct Delivery;

  void deliver(UserNotification notification);
  void post(Delivery& delivery, Capabilities service);
  void posted(Delivery& delivery, std::uint32_t id);
  void end(Delivery& delivery);
  void listen();
  void activated(std::uint32_t id, UserNotification::ActivationType activation);
  void closed(std::uint32_t id);
  void stopListeningWhenIdle();

  SessionBus& bus_;
  const std::string applicationName_;
  const std::string desktopEntry_;
  UserNotificationCenterDelegate* delegate_ = nullptr;
  std::map<Delivery*, std::unique_ptr<Delivery>> deliveries_;  // on their way to the service
  std::map<std::uint32_t, UserNotification> shown_;            // by the service's number
  BusSlot activatedSlot_;
  BusSlot tokenSlot_;
  BusSlot closedSlot_;
};

}  // namespace platform::linux_
