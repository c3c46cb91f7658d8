#include "MainApplication/doctor/DesktopLook.h"

#include <cstdlib>

#include "Platform/Linux/bus/OpenPanelNames.h"

namespace tidewell {
namespace {

using Grade = Finding::Grade;

constexpr char kNotificationServer[] = "org.freedesktop.Notifications";

}  // namespace

PanelLook PanelLook::now(const BusNames& names) {
  return {names.reachOf(platform::linux_::kOpenPanelName),
          std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr};
}

Findings PanelLook::findings() const {
  if (panel != Reach::kNot) {
    return {{Grade::kGood, "panel", localizable("There is a window in which folders are asked for."), {}}};
  }
  const Phrase advice = localizable("In a terminal, \"tidewell allow BROWSER --yes\" allows a browser's folders.");
  if (!hasDisplay) {
    return {
        {Grade::kRemark, "panel", localizable("Folders are asked for in the terminal: there is no display."), advice}};
  }
  return {{Grade::kWrong, "panel",
           localizable("Nothing can ask for folders: the program tidewell-open-panel is not installed."), advice}};
}

NotificationsLook NotificationsLook::now(const BusNames& names, bool isWanted) {
  return {names.reachOf(kNotificationServer), isWanted};
}

Findings NotificationsLook::findings() const {
  if (!isWanted) {
    return {{Grade::kGood, "notifications", localizable("Notifications are off."), {}}};
  }
  if (server != Reach::kNot) {
    return {{Grade::kGood, "notifications", localizable("Notifications are on, and the desktop shows them."), {}}};
  }
  return {{Grade::kWrong, "notifications", localizable("Notifications are on, but nothing in this session shows them."),
           localizable("Install a notification server, such as that of your desktop.")}};
}

}  // namespace tidewell
