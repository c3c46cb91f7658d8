// One browser in the settings window: its icon and name, whether its folders are allowed, and its actions.
#pragma once

#include <gtkmm.h>

#include <functional>
#include <optional>

#include "MainApplication/client/RunningBrowsers.h"
#include "MainApplication/client/SettingsStore.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {

class BrowserRow : public Gtk::Box {
 public:
  /// Called when the user does something here. Each may call back into the row.
  struct Actions {
    std::function<void(bool on)> enable;
    std::function<void()> allow;
    std::function<void()> preview;
  };

  using Allowed = SettingsStore::Allowed;
  struct State {
    bool isEnabled = false;
    Allowed folders = Allowed::kNone;
    bool isAsking = false;       // a panel is open, or will be
    bool hasNeverAsked = false;  // the user has said "Never" to a folder
    std::optional<RunningBrowser> running;
  };

  BrowserRow(const Browser& browser, Actions actions);

  /// Shows the state; calls no action.
  void show(const State& state);

  /// Puts the focus on the row's switch, which brings the row into view.
  void focusSwitch() { enabled_.grab_focus(); }

 private:
  Gtk::Image icon_;
  Gtk::Label name_;
  Gtk::Label folders_;
  Gtk::Box texts_{Gtk::Orientation::VERTICAL, 2};
  Gtk::Spinner spinner_;
  Gtk::Button preview_;
  Gtk::Button allow_;
  Gtk::Switch enabled_;
  bool shown_ = false;  // what the program itself has set the switch to
};

}  // namespace tidewell
