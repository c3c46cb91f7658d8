// The person's home: its layout, and which of the stores in it are cleaned.
#pragma once

#include <memory>

#include "Platform/System.h"
#include "Platform/UserDefaults.h"
#include "Worker/formats/Kept.h"
#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Layout.h"

namespace tidewell {

struct Home {
  HomeFolder folder;
  bool cleansCurrentStores = false;  // those of today's browsers, besides older ones
  Kept kept;                         // without sites; nothing on a home with a Library
  bool keepsSites = false;           // not on a home with a Library
  std::unique_ptr<const Layout> layout;

  /// The home as it is now, by the settings and files of the installed platform. Any thread.
  static Home current();

  /// What is kept, with the sites that these settings name. To be read once for each run.
  Kept keptWithSites(const platform::UserDefaults& shared) const;

  /// The home of the person with these settings, seen through `eyes`.
  static Home of(const platform::UserDefaults& shared, const platform::System& system, HomeEyes eyes);
};

}  // namespace tidewell
