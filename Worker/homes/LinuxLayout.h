// A home without a folder "Library".
#pragma once

#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Layout.h"

namespace tidewell {

class LinuxLayout : public Layout {
 public:
  explicit LinuxLayout(HomeFolder home) : home_(std::move(home)) {}

  std::string_view name() const override { return "XDG"; }
  bool hasOperations() const override { return false; }
  bool followsArguments() const override { return true; }
  bool sparesRunningBrowsers() const override { return true; }
  bool takesWideGrants() const override { return false; }
  bool knows(const Browser&) const override { return true; }
  bool mayHave(const Browser& browser) const override { return browser.isOnOtherHomes(); }
  std::vector<Installation> installationsOf(const Browser& browser) const override;
  StoreFolders storeFoldersOf(const Browser& browser, const Installation& installation) const override;
  std::vector<std::string> pluginFolders() const override;
  std::vector<std::string> foldersNeededBy(const Browser& browser) const override;
  std::vector<std::string> foldersToAllow(const Browser& browser) const override { return foldersNeededBy(browser); }

 private:
  std::vector<std::string> existing(std::string_view place) const;
  std::vector<std::string> cachesFor(const std::string& dataFolder) const;
  void appendInstallation(std::vector<Installation>& found, Family family, Installation installation) const;
  void appendPlace(std::vector<Installation>& found, const Browser& browser, const Place& place) const;
  void appendStartedWith(std::vector<Installation>& found, const Browser& browser) const;
  void dropCachesAmongData(std::vector<Installation>& found) const;

  const HomeFolder home_;
};

}  // namespace tidewell
