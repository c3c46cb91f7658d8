#include "MainApplication/settings/MainPage.h"

#include <algorithm>
#include <utility>

#include "MainApplication/settings/ProgramBeside.h"
#include "MainApplication/settings/Texts.h"
#include "Platform/Linux/host/UserFolders.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr int kSpacing = 12;
constexpr int kIconSize = 96;

void append(GMenu* menu, const std::string& text, const char* action) {
  g_menu_append(menu, text.c_str(), action);
}

}  // namespace

MainPage::MainPage(const std::vector<const Browser*>& browsers, const SettingsStore& settings, Changes& changes,
                   Actions actions)
    : Page(kDisplayName, nullptr),
      settings_(settings),
      changes_(changes),
      autostart_(platform::linux_::configurationFolder(), programBeside("tidewell-worker")),
      startsWithSession_(localized("Start with the session"),
                         localized("Without it nothing is cleaned until you start the worker."),
                         [this](bool on) { startWithSession(on); }),
      actions_(std::move(actions)) {
  addMenu();
  addWelcome();
  addBrowsers(browsers);
  addOptions();
  addLists();
}

void MainPage::addMenu() {
  GMenu* menu = g_menu_new();
  append(menu, localized("_Keyboard Shortcuts"), "win.show-help-overlay");
  append(menu, localized("_Help"), "app.help");
  append(menu, localized("_About Tidewell"), "app.about");
  GtkWidget* button = gtk_menu_button_new();
  gtk_menu_button_set_icon_name(GTK_MENU_BUTTON(button), "open-menu-symbolic");
  gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(button), G_MENU_MODEL(menu));
  gtk_menu_button_set_primary(GTK_MENU_BUTTON(button), TRUE);  // F10
  g_object_unref(menu);
  gtk_widget_set_tooltip_text(button, localized("Main Menu").c_str());
  setAccessibleName(button, localized("Main Menu"));
  adw_header_bar_pack_end(header(), button);
}

void MainPage::addWelcome() {
  welcome_ = newGroup("");
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, kSpacing);
  GtkIconTheme* theme = gtk_icon_theme_get_for_display(gdk_display_get_default());
  if (gtk_icon_theme_has_icon(theme, kWindowIdentifier) != FALSE) {
    GtkWidget* icon = gtk_image_new_from_icon_name(kWindowIdentifier);
    gtk_image_set_pixel_size(GTK_IMAGE(icon), kIconSize);
    gtk_box_append(GTK_BOX(box), icon);
  }
  const auto append = [box](const std::string& text, const char* styleClass) {
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
    gtk_widget_add_css_class(label, styleClass);
    gtk_box_append(GTK_BOX(box), label);
  };
  append(localized("Welcome to Tidewell"), "title-1");
  append(localized(
             "Choose the browsers to clean when they quit. What sites have left in them goes: cookies, site data and "
             "caches. Bookmarks, passwords, history and open tabs stay."),
         "body");
  adw_preferences_group_add(welcome_, box);
  gtk_widget_set_visible(GTK_WIDGET(welcome_), FALSE);
  add(welcome_);
}

void MainPage::addBrowsers(const std::vector<const Browser*>& browsers) {
  list_ = newGroup(localized("Clean after these browsers when they quit"));
  for (const Browser* known : browsers) {
    const Browser& browser = *known;
    rows_.push_back(std::make_unique<BrowserRow>(
        browser, BrowserRow::Actions{[this, &browser](bool on) { actions_.enable(browser, on); },
                                     [this, &browser] { actions_.open(browser); }}));
  }
  others_ = adw_expander_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(others_), localized("Other browsers").c_str());
  g_object_ref_sink(others_);
  g_object_set_data_full(G_OBJECT(list_), "others", others_, g_object_unref);  // kept while the page is
  add(list_);
}

void MainPage::addOptions() {
  AdwPreferencesGroup* group = newGroup(localized("When a browser is cleaned"));
  addOption(group, kDisplayNotificationsKey, localized("Show a notification"), "");
  if (settings_.home().keepsSites) {
    addOption(group, kKeepSiteSettingsKey, localized("Keep the settings of sites"),
              localized("Permissions, zoom and what else was set for single sites stay."));
  }
  addOption(group, kSecureDeleteDataKey, localized("Overwrite files before they are removed"),
            localized("On a hard disk this makes removed files hard to recover, but on SSDs and on copy-on-write file "
                      "systems such as Btrfs the old contents can stay on the disk all the same: only an encrypted "
                      "disk protects them there."));
  add(group);
}

void MainPage::addOption(AdwPreferencesGroup* group, const char* key, const std::string& name,
                         const std::string& explanation) {
  options_.push_back({key, std::make_unique<SwitchRow>(
                               name, explanation, [this, key, name](bool on) { changes_.setFlag(key, name, on); })});
  adw_preferences_group_add(group, options_.back().row->widget());
}

void MainPage::addLists() {
  AdwPreferencesGroup* group = newGroup("");
  if (settings_.home().keepsSites) {
    keptSites_ = newRow(localized("Kept sites"));
    leadTo(keptSites_, actions_.openKeptSites);
    adw_preferences_group_add(group, keptSites_);
  }
  history_ = newRow(localized("History"), localized("What the last cleanings have removed"));
  leadTo(history_, actions_.openHistory);
  adw_preferences_group_add(group, history_);
  adw_preferences_group_add(group, startsWithSession_.widget());
  add(group);
}

void MainPage::startWithSession(bool on) {
  const std::string name = localized("Start with the session");
  changes_.told(autostart_.set(on), on ? localized("%@: on", {name}) : localized("%@: off", {name}), [this, on] {
    static_cast<void>(autostart_.set(!on));  // the switch shows whether it is so
  });
}

void MainPage::show(const std::vector<BrowserState>& states) {
  place(states);
  bool isFirstUse = true;
  for (std::size_t index = 0; index < rows_.size(); ++index) {
    rows_[index]->show(states[index]);
    isFirstUse = isFirstUse && !states[index].isEnabled && !states[index].last;
  }
  gtk_widget_set_visible(GTK_WIDGET(welcome_), isFirstUse ? TRUE : FALSE);
  startsWithSession_.show(autostart_.isOn());
  for (const Option& option : options_) option.row->show(settings_.flag(option.key));
  if (keptSites_ == nullptr) return;
  const auto entries = settings_.keptSites();
  std::string text = localized("The list can't be read");
  if (entries) {
    text = entries->empty() ? localized("Sites whose data stays")
                            : platform::formatted(localizedPlural("%@ site", "%@ sites", entries->size()),
                                                  {std::to_string(entries->size())});
  }
  setRowTexts(keptSites_, localized("Kept sites"), text);
}

void MainPage::place(const std::vector<BrowserState>& states) {
  std::vector<bool> here;
  for (const BrowserState& state : states) here.push_back(state.isHere);
  if (here == placed_) return;
  for (std::size_t index = 0; index < placed_.size(); ++index) {
    if (placed_[index]) {
      adw_preferences_group_remove(list_, rows_[index]->widget());
    } else {
      adw_expander_row_remove(ADW_EXPANDER_ROW(others_), rows_[index]->widget());
    }
  }
  if (!placed_.empty()) adw_preferences_group_remove(list_, others_);
  for (std::size_t index = 0; index < here.size(); ++index) {
    if (here[index]) {
      adw_preferences_group_add(list_, rows_[index]->widget());
    } else {
      adw_expander_row_add_row(ADW_EXPANDER_ROW(others_), rows_[index]->widget());
    }
  }
  adw_preferences_group_add(list_, others_);
  const bool isAnyHere = std::find(here.begin(), here.end(), true) != here.end();
  gtk_widget_set_visible(others_, std::find(here.begin(), here.end(), false) != here.end() ? TRUE : FALSE);
  if (!isAnyHere) adw_expander_row_set_expanded(ADW_EXPANDER_ROW(others_), TRUE);
  placed_ = std::move(here);
}

}  // namespace tidewell
