#include "MainApplication/settings/BrowserRow.h"

#include <giomm/desktopappinfo.h>
#include <glibmm/datetime.h>
#include <libintl.h>

#include <utility>
#include <vector>

#include "MainApplication/settings/Accessible.h"
#include "Platform/Format.h"

namespace tidewell {
namespace {

constexpr int kIconSize = 32;
constexpr int kSpacing = 12;
constexpr int kMargin = 12;
constexpr int kFoldersCharacters = 40;

/// The icon of the browser's desktop entry, if it has one that the theme knows; else a generic one.
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

const char* foldersTextOf(const BrowserRow::State& state) {
  if (state.isAsking) return ::dgettext("tidewell", "Waiting for your answer…");
  switch (state.folders) {
    case BrowserRow::Allowed::kNothingThere:
      return ::dgettext("tidewell", "It keeps nothing in this home");
    case BrowserRow::Allowed::kAll:
      return ::dgettext("tidewell", "Its folders are allowed");
    case BrowserRow::Allowed::kSome:
      return ::dgettext("tidewell", "Some of its folders are allowed");
    case BrowserRow::Allowed::kNone:
      break;
  }
  return ::dgettext("tidewell", "Its folders are not allowed");
}

std::string runningTextOf(const RunningBrowser& browser) {
  const auto seconds = std::chrono::system_clock::to_time_t(browser.since);
  const std::string since = Glib::DateTime::create_now_local(seconds).format("%x %R");
  if (browser.hasWindow.value_or(true)) return platform::formatted(::dgettext("tidewell", "It runs since %@"), {since});
  return platform::formatted(::dgettext("tidewell", "It runs since %@, without a window"), {since});
}

std::string textOf(const BrowserRow::State& state) {
  std::string text = foldersTextOf(state);
  if (state.hasNeverAsked) {
    text += std::string("\n") + ::dgettext("tidewell", "Some of its folders are never asked for");
  }
  if (state.running) text += "\n" + runningTextOf(*state.running);
  return text;
}

std::string ofBrowser(const char* text, const Browser& browser) {
  return platform::formatted(text, {browser.name});
}

}  // namespace

BrowserRow::BrowserRow(const Browser& browser, Actions actions) : Gtk::Box(Gtk::Orientation::HORIZONTAL, kSpacing) {
  set_margin(kMargin);
  icon_.set(iconOf(browser));
  icon_.set_pixel_size(kIconSize);
  append(icon_);

  name_.set_text(std::string(browser.name));
  name_.set_xalign(0);
  folders_.set_xalign(0);
  folders_.set_wrap(true);
  folders_.set_width_chars(kFoldersCharacters);
  folders_.set_max_width_chars(kFoldersCharacters);
  folders_.add_css_class("dim-label");
  texts_.set_hexpand(true);
  texts_.set_valign(Gtk::Align::CENTER);
  texts_.append(name_);
  texts_.append(folders_);
  append(texts_);
  append(spinner_);

  preview_.set_label(::dgettext("tidewell", "Preview…"));
  preview_.set_valign(Gtk::Align::CENTER);
  setAccessibleName(preview_, ofBrowser(::dgettext("tidewell", "Preview of what would be removed from %@"), browser));
  preview_.signal_clicked().connect(actions.preview);
  append(preview_);

  allow_.set_label(::dgettext("tidewell", "Allow Folders…"));
  allow_.set_valign(Gtk::Align::CENTER);
  setAccessibleName(allow_, ofBrowser(::dgettext("tidewell", "Allow the folders of %@"), browser));
  allow_.signal_clicked().connect(actions.allow);
  append(allow_);

  enabled_.set_valign(Gtk::Align::CENTER);
  const std::string what = ofBrowser(::dgettext("tidewell", "Clean after %@"), browser);
  enabled_.set_tooltip_text(what);
  setAccessibleName(enabled_, what);
  enabled_.property_active().signal_changed().connect([this, enable = std::move(actions.enable)] {
    if (enabled_.get_active() != shown_) enable(shown_ = enabled_.get_active());
  });
  append(enabled_);
}

void BrowserRow::show(const State& state) {
  shown_ = state.isEnabled;
  enabled_.set_active(state.isEnabled);
  folders_.set_text(textOf(state));
  spinner_.set_spinning(state.isAsking);
  allow_.set_sensitive(!state.isAsking && (state.folders == Allowed::kNone || state.folders == Allowed::kSome));
}

}  // namespace tidewell
