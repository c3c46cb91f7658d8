// One browser in the window's list: its icon and name, what is most important about it, and its switch. The row leads
// to the browser's page.
#pragma once

#include <functional>

#include "MainApplication/settings/BrowserState.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class BrowserRow {
 public:
  /// Called when the person does something here.
  struct Actions {
    std::function<void(bool on)> enable;
    Action open;
  };
  BrowserRow(const Browser& browser, Actions actions);
  ~BrowserRow();
  BrowserRow(const BrowserRow&) = delete;
  BrowserRow& operator=(const BrowserRow&) = delete;

  GtkWidget* widget() const { return row_; }

  /// Shows the state; calls no action.
  void show(const BrowserState& state);

 private:
  const Browser& browser_;
  GtkWidget* row_;
  GtkWidget* switch_;
  bool shown_ = false;  // what the program itself has set the switch to
};

/// The icon of the browser's desktop entry, if it has one that the theme knows; else a generic one.
GtkWidget* newBrowserIcon(const Browser& browser);

}  // namespace tidewell
