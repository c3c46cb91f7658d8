// Puts the Linux implementations together as the platform.
#pragma once

#include <string>
#include <vector>

#include "Platform/Linux/bus/AnnouncedQuits.h"
#include "Platform/Linux/bus/BusNotificationCenter.h"
#include "Platform/Linux/bus/BusOpenPanel.h"
#include "Platform/Linux/cells/LinuxCells.h"
#include "Platform/Linux/files/LinuxFileManager.h"
#include "Platform/Linux/files/LinuxSystem.h"
#include "Platform/Linux/files/SecurityScopes.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Platform/Linux/host/LineLog.h"
#include "Platform/Linux/processes/LinuxUserScripts.h"
#include "Platform/Linux/processes/LinuxWorkspace.h"
#include "Platform/Linux/settings/SqliteUserDefaults.h"
#include "Platform/Linux/threads/ConfinedThreads.h"
#include "Platform/Linux/threads/LinuxDispatch.h"
#include "Platform/Platform.h"

namespace platform::linux_ {

class LinuxPlatform {
 public:
  /// Installs itself as the platform of the process. Loop and bus must outlive it.
  LinuxPlatform(RunLoop& loop, SessionBus& bus, BundleInfo info, std::vector<WatchedApplication> applications);
  ~LinuxPlatform();

  /// Starts watching for applications that quit. `isWanted` reads the settings of `settingsDomain`.
  void startWorkspace(std::function<bool(const WatchedApplication&)> isWanted, const std::string& settingsDomain);

  /// To be called before exit: waits for running background work, and drops what has not begun. False when something is
  /// stuck; then nothing may be destroyed any more.
  bool finish();

 private:
  RunLoop& loop_;
  LineLog log_;
  SqliteUserDefaults userDefaults_;
  SecurityScopes scopes_;
  LinuxFileManager fileManager_;
  LinuxFileManager fileManagerOnOneMount_;
  LinuxSystem system_;
  LinuxDispatch dispatch_;
  GettextBundle bundle_;
  BusOpenPanel openPanel_;
  BusNotificationCenter notificationCenter_;
  LinuxUserScripts userScripts_;
  LinuxWorkspace workspace_;
  AnnouncedQuits announcedQuits_;
  LinuxCells cells_;
  ConfinedThreads confinement_;
  Platform platform_;
};

}  // namespace platform::linux_
