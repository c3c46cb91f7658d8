#include "MainApplication/settings/KeptSitesPage.h"

#include <utility>

#include "MainApplication/settings/Texts.h"
#include "Platform/PrintableText.h"
#include "Worker/keeping/Host.h"
#include "Worker/keeping/KeptSites.h"

namespace tidewell {

using platform::printable;

std::optional<std::string> typedSite(std::string text) {
  text.erase(0, text.find_first_not_of(" \t"));
  text.erase(text.find_last_not_of(" \t") + 1);
  if (auto entry = KeptSites::canonicalEntry(text)) return entry;
  const bool hasScheme = text.find("://") != std::string::npos;
  const auto host = hostOfAddress(hasScheme ? text : "https://" + text);
  return host ? KeptSites::canonicalEntry(std::string(*host)) : std::nullopt;
}

KeptSitesPage::KeptSitesPage(const SettingsStore& settings, Changes& changes, const Action& back)
    : Page(localized("Kept sites"), back),
      settings_(settings),
      changes_(changes),
      entry_(adw_entry_row_new()),
      group_(newGroup("")),
      rows_(group_) {
  AdwPreferencesGroup* first = newGroup(
      "", localized("What these sites have stored stays, with that of all sites below them: a site “mail.example” "
                    "keeps “www.mail.example” too."));
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(entry_), localized("Add a site").c_str());
  adw_entry_row_set_show_apply_button(ADW_ENTRY_ROW(entry_), TRUE);
  on(entry_, "apply", [this] { addTyped(); });
  adw_preferences_group_add(first, entry_);
  add(first);
  add(group_);
}

void KeptSitesPage::addTyped() {
  const std::string text = gtk_editable_get_text(GTK_EDITABLE(entry_));
  const auto site = typedSite(text);
  if (!site) return changes_.say(localized("“%@” is no site that can be kept", {printable(text)}));
  if (changes_.keep(*site)) gtk_editable_set_text(GTK_EDITABLE(entry_), "");
}

void KeptSitesPage::update() {
  auto entries = settings_.keptSites();
  gtk_widget_set_sensitive(entry_, entries ? TRUE : FALSE);
  if (!entries) entries.emplace();
  if (shown_ == entries) return;
  rows_.clear();
  for (const std::string& entry : *entries) {
    GtkWidget* row = newRow(printable(entry), KeptSites::canonicalEntry(entry) ? "" : localized("This is no site"));
    adw_action_row_add_suffix(ADW_ACTION_ROW(row),
                              newIconButton("user-trash-symbolic", localized("Keep %@ no longer", {printable(entry)}),
                                            [this, entry] { changes_.unkeep(entry); }));
    rows_.add(row);
  }
  shown_ = std::move(entries);
}

}  // namespace tidewell
