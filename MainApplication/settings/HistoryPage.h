// The last cleanings of all browsers, the newest first.
#pragma once

#include <optional>
#include <vector>

#include "MainApplication/settings/BrowserState.h"
#include "MainApplication/settings/Changes.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class HistoryPage : public Page {
 public:
  /// The settings and the changes must outlive the page.
  HistoryPage(const SettingsStore& settings, Changes& changes, const Action& back);

  void update() override;

 private:
  const SettingsStore& settings_;
  GtkWidget* clear_;
  AdwPreferencesGroup* group_;
  ChangingRows rows_;
  std::optional<std::vector<Report>> shown_;
};

}  // namespace tidewell
