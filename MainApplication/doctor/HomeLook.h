// Which home is cleaned, and can its settings be read and written?
#pragma once

#include <string>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/doctor/Finding.h"

namespace tidewell {

struct HomeLook {
  std::string home = {};  // the one that is cleaned
  bool isThere = false;
  std::string sessionHome = {};  // the one of this session
  std::string settings = {};     // the folder of the settings
  bool canWriteSettings = false;
  bool canReadKeptSites = false;

  static HomeLook now(const SettingsStore& settings);
  Findings findings() const;
};

}  // namespace tidewell
