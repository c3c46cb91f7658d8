#include "MainApplication/settings/HistoryPage.h"

#include <utility>

#include "MainApplication/settings/Texts.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

std::string nameOf(const Report& report) {
  const Browser* browser = browserWithIdentifier(report.browser);
  return browser != nullptr ? std::string(browser->name) : report.browser;
}

}  // namespace

HistoryPage::HistoryPage(const SettingsStore& settings, Changes& changes, const Action& back)
    : Page(localized("History"), back),
      settings_(settings),
      clear_(
          newIconButton("user-trash-symbolic", localized("Clear the history"), [&changes] { changes.clearHistory(); })),
      group_(newGroup("",
                      localized("Of each cleaning is known how much it removed, and what it left. It names no site."))),
      rows_(group_) {
  adw_header_bar_pack_end(header(), clear_);
  add(group_);
}

void HistoryPage::update() {
  std::vector<Report> reports = settings_.history();
  if (shown_ == reports) return;
  rows_.clear();
  for (auto report = reports.rbegin(); report != reports.rend(); ++report) {
    if (report->runs.empty()) continue;
    const std::string title = localized("%@: %@", {nameOf(*report), whenText(report->runs.front().begun)});
    rows_.add(newRow(title, sentenceOn(*report)));
  }
  if (reports.empty()) rows_.add(newRow(localized("Not cleaned yet")));
  gtk_widget_set_sensitive(clear_, reports.empty() ? FALSE : TRUE);
  shown_ = std::move(reports);
}

}  // namespace tidewell
