// Everything that the worker needs of the system that it runs on.
#pragma once

#include "Platform/Bundle.h"
#include "Platform/Cells.h"
#include "Platform/Confinement.h"
#include "Platform/Dispatch.h"
#include "Platform/FileManager.h"
#include "Platform/Log.h"
#include "Platform/OpenPanel.h"
#include "Platform/SecurityScopedResources.h"
#include "Platform/System.h"
#include "Platform/UserDefaults.h"
#include "Platform/UserNotificationCenter.h"
#include "Platform/UserUnixTask.h"
#include "Platform/Workspace.h"

namespace platform {

struct Platform {
  Bundle& mainBundle;
  Dispatch& dispatch;
  FileManager& fileManager;
  FileManager& fileManagerOnOneMount;  // as fileManager, but nothing is reached that is mounted below a grant
  Log& log;
  OpenPanel& openPanel;
  SecurityScopedResources& securityScopedResources;
  System& system;
  UserDefaultsDomains& userDefaults;
  UserNotificationCenter& userNotificationCenter;
  UserScripts& userScripts;
  Workspace& workspace;
  Cells& cells;
  Confinement& confinement;

  /// The platform of this process. The only global of the program, for classes that have only class operations. It must
  /// have been installed.
  static Platform& current();

  /// Makes `platform` the one of this process, before anything else runs; null removes it. It must outlive every use.
  /// Returns the previous one.
  static Platform* install(Platform* platform);
};

}  // namespace platform
