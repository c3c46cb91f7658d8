// A message that stays below the window's pages, whichever is shown: that the worker does not run, or why something
// that was asked of it could not be done.
#pragma once

#include <string>

#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class MessageBar {
 public:
  /// `start` is called by the button that starts the worker.
  explicit MessageBar(Action start);

  GtkWidget* widget() const { return bar_; }

  /// Shows the text, or nothing for "".
  void show(const std::string& text, bool offersStart);

 private:
  GtkWidget* bar_;
  GtkWidget* text_;
  GtkWidget* start_;
};

}  // namespace tidewell
