// Are the folders of the enabled browsers allowed, and do the grants lead to what was allowed?
#pragma once

#include <string>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/doctor/Finding.h"

namespace tidewell {

struct GrantsLook {
  struct OfBrowser {
    std::string name = {};
    std::string word = {};                     // by which the person calls it
    std::vector<std::string> notAllowed = {};  // folders that its cleaning needs
    std::vector<std::string> neverAsked = {};  // of these
  };
  std::vector<OfBrowser> browsers = {};    // those that are enabled
  std::vector<std::string> gone = {};      // granted, and not there any more
  std::vector<std::string> replaced = {};  // granted, and another folder stands there now

  static GrantsLook now(const SettingsStore& settings, platform::linux_::SqliteUserDefaults& domains);
  Findings findings() const;

 private:
  void addFolders(const OfBrowser& browser, Findings& found) const;
};

}  // namespace tidewell
