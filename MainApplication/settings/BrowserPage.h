// The page of one browser: clean it now, see beforehand what would go, its folders, and its last cleanings.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MainApplication/settings/BrowserState.h"
#include "MainApplication/settings/Changes.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class BrowserPage : public Page {
 public:
  struct Actions {
    Action back;
    std::function<void(bool on)> enable;
    Action allow;
    Action preview;
    Action clean;
  };
  /// The settings and the changes must outlive the page.
  BrowserPage(const Browser& browser, const SettingsStore& settings, Changes& changes, const Actions& actions);

  const Browser& browser() const { return browser_; }

  /// Shows the state, the folders and the cleanings as they are now.
  void show(const BrowserState& state, bool isWorkerRunning);

  /// Puts the focus on the page's switch.
  void focusSwitch() { enabled_.focus(); }

 private:
  /// A folder that the browser's cleaning needs.
  struct Folder {
    std::string path;
    std::string grantedBy = {};  // the widest granted folder that it lies in; "" for none
    bool isNeverAsked = false;
    bool operator==(const Folder&) const = default;
  };

  std::vector<Folder> folders() const;
  void showFolders(const BrowserState& state);
  GtkWidget* newFolderRow(const Folder& folder);
  void showHistory();

  const Browser& browser_;
  const SettingsStore& settings_;
  Changes& changes_;
  SwitchRow enabled_;
  GtkWidget* running_;
  GtkWidget* clean_;
  GtkWidget* cleaning_;
  GtkWidget* allow_;
  AdwPreferencesGroup* folderGroup_;
  ChangingRows folderRows_;
  std::optional<std::vector<Folder>> shownFolders_;
  AdwPreferencesGroup* historyGroup_;
  ChangingRows historyRows_;
  std::optional<std::vector<Report>> shownReports_;
};

}  // namespace tidewell
