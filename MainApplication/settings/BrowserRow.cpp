#include "MainApplication/settings/BrowserRow.h"

#include <giomm/desktopappinfo.h>
#include <giomm/themedicon.h>
#include <gtkmm/icontheme.h>

#include <utility>
#include <vector>

#include "MainApplication/settings/Texts.h"

namespace tidewell {
namespace {

constexpr int kIconSize = 32;

Glib::RefPtr<const Gio::Icon> iconOf(const Browser& browser) {
  const auto theme = Gtk::IconTheme::get_for_display(Gdk::Display::get_default());
  std::vector<std::string> entries = {std::string(browser.bundleIdentifier)};
  for (const std::string_view name : browser.executableNames) {
    entries.emplace_back(name);
    entries.push_back(entries.back() + "_" + entries.back());  // as Snap names them
  }
  for (const std::string& entry : entries) {
    const auto application = Gio::DesktopAppInfo::create(entry + ".desktop");
    auto icon = application ? std::as_const(*application.get()).get_icon() : nullptr;
    if (icon && theme->has_gicon(icon)) return icon;
  }
  return Gio::ThemedIcon::create(theme->has_icon("web-browser") ? "web-browser" : "application-x-executable");
}

}  // namespace

GtkWidget* newBrowserIcon(const Browser& browser) {
  const auto icon = iconOf(browser);
  GtkWidget* image = gtk_image_new_from_gicon(const_cast<GIcon*>(icon->gobj()));  // which only reads it
  gtk_image_set_pixel_size(GTK_IMAGE(image), kIconSize);
  gtk_accessible_update_state(GTK_ACCESSIBLE(image), GTK_ACCESSIBLE_STATE_HIDDEN, TRUE, -1);
  return image;
}

BrowserRow::BrowserRow(const Browser& browser, Actions actions)
    : browser_(browser), row_(newRow(std::string(browser.name))), switch_(gtk_switch_new()) {
  g_object_ref_sink(row_);  // it moves from list to list
  adw_action_row_add_prefix(ADW_ACTION_ROW(row_), newBrowserIcon(browser));
  gtk_widget_set_valign(switch_, GTK_ALIGN_CENTER);
  const std::string what = localized("Clean after %@", {browser.name});
  gtk_widget_set_tooltip_text(switch_, what.c_str());
  setAccessibleName(switch_, what);
  on(switch_, "notify::active", [this, enable = std::move(actions.enable)] {
    const bool isOn = gtk_switch_get_active(GTK_SWITCH(switch_)) != FALSE;
    if (isOn != shown_) enable(shown_ = isOn);
  });
  adw_action_row_add_suffix(ADW_ACTION_ROW(row_), switch_);
  leadTo(row_, std::move(actions.open));
}

BrowserRow::~BrowserRow() {
  g_object_unref(row_);
}

void BrowserRow::show(const BrowserState& state) {
  shown_ = state.isEnabled;
  gtk_switch_set_active(GTK_SWITCH(switch_), state.isEnabled ? TRUE : FALSE);
  setRowTexts(row_, std::string(browser_.name), sentenceOn(state));
}

}  // namespace tidewell
