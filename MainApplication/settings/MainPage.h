// The window's first page: the browsers, those of this machine first, and what holds for all of them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "MainApplication/settings/Autostart.h"
#include "MainApplication/settings/BrowserRow.h"
#include "MainApplication/settings/Changes.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class MainPage : public Page {
 public:
  struct Actions {
    std::function<void(const Browser& browser, bool on)> enable;
    std::function<void(const Browser& browser)> open;
    Action openKeptSites;
    Action openHistory;
  };
  /// All must outlive the page.
  MainPage(const std::vector<const Browser*>& browsers, const SettingsStore& settings, Changes& changes,
           Actions actions);

  /// Shows the states, which are in the order of the browsers, and the options.
  void show(const std::vector<BrowserState>& states);

 private:
  struct Option {
    std::string key;
    std::unique_ptr<SwitchRow> row;
  };

  void addMenu();
  void addWelcome();
  void addBrowsers(const std::vector<const Browser*>& browsers);
  void addOptions();
  void addOption(AdwPreferencesGroup* group, const char* key, const std::string& name, const std::string& explanation);
  void addLists();
  void startWithSession(bool on);
  void place(const std::vector<BrowserState>& states);

  const SettingsStore& settings_;
  Changes& changes_;
  const Autostart autostart_;
  SwitchRow startsWithSession_;
  const Actions actions_;
  AdwPreferencesGroup* welcome_ = nullptr;
  AdwPreferencesGroup* list_ = nullptr;
  GtkWidget* others_ = nullptr;                    // the browsers that are not here, folded away
  std::vector<std::unique_ptr<BrowserRow>> rows_;  // in the order of the browsers
  std::vector<bool> placed_;  // which rows are among those that are here; empty before the first show
  std::vector<Option> options_;
  GtkWidget* keptSites_ = nullptr;  // null on a home that keeps none
  GtkWidget* history_ = nullptr;
};

}  // namespace tidewell
