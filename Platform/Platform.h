// Everything that the worker asks of the system that it runs on, gathered in one place.
#pragma once

#include "Platform/Bundle.h"
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
  Log& log;
  OpenPanel& openPanel;
  SecurityScopedResources& securityScopedResources;
  System& system;
  UserDefaultsDomains& userDefaults;
  UserNotificationCenter& userNotificationCenter;
  UserScripts& userScripts;
  Workspace& workspace;

  /// The platform of this process. The one global of the program: classes that have class operations only have nowhere
  /// else to take it from. It must have been installed.
  static Platform& current();

  /// Makes `platform` the one of this process, before anything else runs; null takes it away. It must outlive every
  /// use. Answers the one before.
  static Platform* install(Platform* platform);
};

}  // namespace platform
