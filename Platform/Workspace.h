// The applications of the person's session: tells when one of them has quit.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace platform {

/// The user information of a notice about an application.
struct ApplicationNotification {
  std::optional<std::string> applicationName;
  std::optional<std::string> bundleIdentifier;
};

/// On the main thread.
class Workspace {
 public:
  using Observer = std::function<void(const ApplicationNotification& notification)>;
  using ObserverToken = unsigned;

  virtual ~Workspace() = default;

  /// The observer is called on the main thread each time that an application has quit.
  virtual ObserverToken addDidTerminateApplicationObserver(Observer observer) = 0;

  virtual void removeObserver(ObserverToken token) = 0;
};

}  // namespace platform
