// Shows what a run would remove now, as reported by "tidewell preview", which removes nothing.
#pragma once

#include <gtkmm.h>

#include <string>

#include "Worker/browsers/Browsers.h"

namespace tidewell {

class PreviewWindow : public Gtk::Window {
 public:
  /// Starts the program; closing the window ends it.
  PreviewWindow(Gtk::Window& parent, const Browser& browser);
  ~PreviewWindow() override;

 private:
  void start(const Browser& browser);
  void stop();
  void ended(GAsyncResult* result);
  void showText(const std::string& text);

  GSubprocess* program_ = nullptr;
  GCancellable* cancellable_ = nullptr;
  Gtk::Box content_{Gtk::Orientation::VERTICAL, 12};
  Gtk::Label heading_;
  Gtk::Spinner spinner_;
  Gtk::ScrolledWindow scrolled_;
  Gtk::TextView text_;
  Gtk::Button close_;
};

}  // namespace tidewell
