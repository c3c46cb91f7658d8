#include "MainApplication/settings/BrowserPage.h"

#include <glibmm/miscutils.h>

#include <algorithm>

#include "MainApplication/settings/Texts.h"
#include "Platform/Path.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using Allowed = BrowserState::Allowed;

constexpr std::size_t kMostReports = 5;

/// The path as people write it.
std::string shortened(const std::string& path) {
  const std::string home = Glib::get_home_dir();
  return platform::printable(platform::isPathInside(path, home) ? "~" + path.substr(home.size()) : path);
}

std::string foldersText(const BrowserState& state) {
  if (state.isAsking) return localized("Waiting for your answer…");
  switch (state.folders) {
    case Allowed::kNothingThere:
      return localized("It keeps nothing in this home");
    case Allowed::kAll:
      return localized("Its folders are allowed");
    case Allowed::kSome:
      return localized("Some of its folders are allowed");
    case Allowed::kNone:
      break;
  }
  return localized("Its folders are not allowed");
}

}  // namespace

BrowserPage::BrowserPage(const Browser& browser, const SettingsStore& settings, Changes& changes,
                         const Actions& actions)
    : Page(std::string(browser.name), actions.back),
      browser_(browser),
      settings_(settings),
      changes_(changes),
      enabled_(localized("Clean after %@", {browser.name}), "", actions.enable),
      running_(newRow("")),
      folderGroup_(newGroup(localized("Folders"))),
      folderRows_(folderGroup_),
      historyGroup_(newGroup(localized("Last cleanings"))),
      historyRows_(historyGroup_) {
  AdwPreferencesGroup* first = newGroup("");
  adw_preferences_group_add(first, enabled_.widget());
  adw_preferences_group_add(first, running_);

  GtkWidget* now = newRow(localized("Clean it now"));
  cleaning_ = gtk_spinner_new();
  clean_ = newRowButton(localized("Clean"), localized("Clean %@ now", {browser.name}), actions.clean);
  adw_action_row_add_suffix(ADW_ACTION_ROW(now), cleaning_);
  adw_action_row_add_suffix(ADW_ACTION_ROW(now), clean_);
  adw_preferences_group_add(first, now);

  GtkWidget* preview = newRow(localized("See what would be removed now"));
  adw_action_row_add_suffix(
      ADW_ACTION_ROW(preview),
      newRowButton(localized("Preview…"), localized("Preview of what would be removed from %@", {browser.name}),
                   actions.preview));
  adw_preferences_group_add(first, preview);
  add(first);

  allow_ = newRowButton(localized("Allow…"), localized("Allow the folders of %@", {browser.name}), actions.allow);
  adw_preferences_group_set_header_suffix(folderGroup_, allow_);
  add(folderGroup_);
  add(historyGroup_);
}

void BrowserPage::show(const BrowserState& state, bool isWorkerRunning) {
  enabled_.show(state.isEnabled);
  setRowTexts(enabled_.widget(), localized("Clean after %@", {browser_.name}), sentenceOn(state));
  gtk_widget_set_visible(running_, state.running ? TRUE : FALSE);
  if (state.running) setRowTexts(running_, sentenceOn(*state.running), "");
  gtk_widget_set_sensitive(clean_, state.isEnabled && !state.isCleaning && isWorkerRunning ? TRUE : FALSE);
  gtk_spinner_set_spinning(GTK_SPINNER(cleaning_), state.isCleaning ? TRUE : FALSE);
  showFolders(state);
  showHistory();
}

std::vector<BrowserPage::Folder> BrowserPage::folders() const {
  const std::vector<std::string> grants = settings_.grants();  // sorted: a folder comes before those in it
  const std::vector<std::string> never = settings_.neverAsked(browser_);
  std::vector<Folder> folders;
  for (const std::string& path : settings_.home().layout->foldersNeededBy(browser_)) {
    Folder& folder = folders.emplace_back(Folder{path});
    folder.isNeverAsked = std::find(never.begin(), never.end(), path) != never.end();
    if (!settings_.isGranted(path)) continue;
    const auto covers = [&path](const std::string& granted) { return platform::isPathInside(path, granted); };
    if (const auto grant = std::find_if(grants.begin(), grants.end(), covers); grant != grants.end()) {
      folder.grantedBy = *grant;
    }
  }
  return folders;
}

void BrowserPage::showFolders(const BrowserState& state) {
  std::string text = foldersText(state);
  if (state.hasNeverAsked) text += "\n" + localized("Some of its folders are never asked for");
  adw_preferences_group_set_description(folderGroup_, text.c_str());
  const bool canAsk = state.folders == Allowed::kNone || state.folders == Allowed::kSome;
  gtk_widget_set_sensitive(allow_, canAsk && !state.isAsking ? TRUE : FALSE);

  std::vector<Folder> now = folders();
  if (shownFolders_ == now) return;
  folderRows_.clear();
  for (const Folder& folder : now) folderRows_.add(newFolderRow(folder));
  shownFolders_ = std::move(now);
}

GtkWidget* BrowserPage::newFolderRow(const Folder& folder) {
  std::string state = localized("Not allowed");
  if (!folder.grantedBy.empty()) {
    state = folder.grantedBy == folder.path ? localized("Allowed")
                                            : localized("Allowed with %@", {shortened(folder.grantedBy)});
  } else if (folder.isNeverAsked) {
    state = localized("Never asked for");
  }
  GtkWidget* row = newRow(shortened(folder.path), state);
  if (folder.grantedBy.empty()) return row;
  adw_action_row_add_suffix(
      ADW_ACTION_ROW(row),
      newRowButton(localized("Take Back"), localized("Take back the permission for %@", {shortened(folder.path)}),
                   [this, granted = folder.grantedBy] { changes_.takeBack(granted); }));
  return row;
}

void BrowserPage::showHistory() {
  std::vector<Report> reports = settings_.history();
  std::erase_if(reports, [this](const Report& report) { return report.browser != browser_.bundleIdentifier; });
  std::reverse(reports.begin(), reports.end());
  reports.resize(std::min(reports.size(), kMostReports));
  if (shownReports_ == reports) return;
  historyRows_.clear();
  for (const Report& report : reports) {
    if (report.runs.empty()) continue;
    historyRows_.add(newRow(whenText(report.runs.front().begun), sentenceOn(report)));
  }
  if (reports.empty()) historyRows_.add(newRow(localized("Not cleaned yet")));
  shownReports_ = std::move(reports);
}

}  // namespace tidewell
