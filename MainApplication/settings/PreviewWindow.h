// Shows what a run would remove now, as reported by "tidewell preview", which removes nothing: the total, and groups
// that unfold. Only the lines in view have widgets, so that thousands cost nothing.
#pragma once

#include <string>

#include "MainApplication/settings/PreviewList.h"
#include "MainApplication/settings/Widgets.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {

class PreviewWindow {
 public:
  /// Starts the program; closing the window ends it.
  PreviewWindow(GtkWindow* parent, const Browser& browser);
  ~PreviewWindow();
  PreviewWindow(const PreviewWindow&) = delete;
  PreviewWindow& operator=(const PreviewWindow&) = delete;

  void present() { gtk_window_present(window_); }

 private:
  void addHeader(const std::string& heading);
  void addList(const std::string& heading);
  void start(const Browser& browser);
  void stop();
  void ended(GAsyncResult* result);
  void show(const PreviewList& list);
  void showMessage(const std::string& title, const std::string& text);

  GtkWindow* window_;
  GtkWidget* pages_;  // one of these at a time: that it is being made, a message, the list
  GtkWidget* cancel_ = nullptr;
  GtkWidget* message_ = nullptr;
  GtkWidget* total_ = nullptr;
  GtkWidget* list_ = nullptr;
  GSubprocess* program_ = nullptr;
  GCancellable* cancellable_;
};

}  // namespace tidewell
