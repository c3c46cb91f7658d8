// A home with a folder "Library".
#pragma once

#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Layout.h"

namespace tidewell {

class LibraryLayout : public Layout {
 public:
  explicit LibraryLayout(HomeFolder home) : home_(std::move(home)) {}

  std::string_view name() const override { return "Library"; }
  bool hasOperations() const override { return true; }
  bool followsArguments() const override { return false; }
  bool sparesRunningBrowsers() const override { return false; }
  bool takesWideGrants() const override { return true; }
  bool knows(const Browser& browser) const override { return browser.isOnHomesWithLibrary(); }
  bool mayHave(const Browser& browser) const override { return browser.isOnHomesWithLibrary(); }
  std::vector<Installation> installationsOf(const Browser& browser) const override;
  StoreFolders storeFoldersOf(const Browser& browser, const Installation& installation) const override;
  std::vector<std::string> pluginFolders() const override { return {}; }
  std::vector<std::string> foldersNeededBy(const Browser& browser) const override;
  std::vector<std::string> foldersToAllow(const Browser& browser) const override;

 private:
  std::string wholePath(std::string_view place) const;

  const HomeFolder home_;
};

}  // namespace tidewell
