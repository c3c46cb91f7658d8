// The sites whose data stays: the list, with a line to add one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MainApplication/settings/Changes.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class KeptSitesPage : public Page {
 public:
  /// The settings and the changes must outlive the page.
  KeptSitesPage(const SettingsStore& settings, Changes& changes, const Action& back);

  void update() override;

 private:
  void addTyped();

  const SettingsStore& settings_;
  Changes& changes_;
  GtkWidget* entry_;
  AdwPreferencesGroup* group_;
  ChangingRows rows_;
  std::optional<std::vector<std::string>> shown_;
};

/// The entry for what a person types: a site, or the address of a page. Absent when it is no site that can be kept.
std::optional<std::string> typedSite(std::string text);

}  // namespace tidewell
