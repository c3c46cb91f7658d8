// Can the worker ask for folders in a window, and can it tell of cleanings?
#pragma once

#include "MainApplication/doctor/BusNames.h"
#include "MainApplication/doctor/Finding.h"

namespace tidewell {

/// The program that asks for folders.
struct PanelLook {
  Reach panel = Reach::kNot;
  bool hasDisplay = false;

  static PanelLook now(const BusNames& names);
  Findings findings() const;
};

/// The desktop's notifications.
struct NotificationsLook {
  Reach server = Reach::kNot;
  bool isWanted = false;

  static NotificationsLook now(const BusNames& names, bool isWanted);
  Findings findings() const;
};

}  // namespace tidewell
