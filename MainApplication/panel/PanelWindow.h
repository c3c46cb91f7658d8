// The window of one panel: the message, the folders that can be chosen, and two buttons.
//
// Works from the keyboard alone: arrows choose, Return confirms, Escape cancels.
#pragma once

#include <gtkmm.h>

#include <functional>
#include <string>
#include <vector>

#include "MainApplication/panel/PanelRequest.h"

namespace tidewell {

class PanelWindow : public Gtk::Window {
 public:
  /// Called once: with the URL that was chosen, or with "" when the panel was cancelled in any way.
  using Answer = std::function<void(const std::string& url)>;

  PanelWindow(const PanelRequest& request, Answer answer);

  /// Shows the window in front of all others, also where the window manager keeps windows in the background that no
  /// action of the user has opened.
  void presentInFront();

 private:
  void addChoices(const PanelRequest& request);
  void addButtons(const std::string& prompt);
  void confirm();
  void finish(const std::string& url);

  Answer answer_;
  std::vector<std::string> urls_;
  std::vector<Gtk::CheckButton*> choices_;
  Gtk::Box content_{Gtk::Orientation::VERTICAL, 12};
  Gtk::Label message_;
  Gtk::Box list_{Gtk::Orientation::VERTICAL, 4};
  Gtk::ScrolledWindow scrolled_;
  Gtk::Box buttons_{Gtk::Orientation::HORIZONTAL, 8};
  Gtk::Button cancel_;
  Gtk::Button confirm_;
};

}  // namespace tidewell
