// Will the worker see the enabled browsers quit?
//
// It watches a browser's program. For one whose program is nowhere, it needs the kernel to announce every program that
// starts.
#pragma once

#include <string>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/doctor/Finding.h"
#include "Platform/Linux/threads/RunLoop.h"

namespace tidewell {

struct QuitsLook {
  struct OfBrowser {
    std::string name = {};
    std::string word = {};
    bool hasProgram = false;
    bool hasData = false;
  };
  std::vector<OfBrowser> browsers = {};  // those that are enabled
  bool kernelAnnounces = false;
  bool canWatchFiles = false;

  static QuitsLook now(platform::linux_::RunLoop& loop, const SettingsStore& settings);
  Findings findings() const;
};

}  // namespace tidewell
