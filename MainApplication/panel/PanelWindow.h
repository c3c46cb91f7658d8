// The window of one panel: the message, the folders that can be chosen, and two or three buttons.
//
// Works from the keyboard alone: Tab or an arrow comes first (AnswerGate.h), then arrows choose, Return confirms,
// Escape cancels.
#pragma once

#include <gtkmm.h>

#include <functional>
#include <string>
#include <vector>

#include "MainApplication/panel/AnswerGate.h"
#include "MainApplication/panel/PanelRequest.h"
#include "Platform/OpenPanel.h"

namespace tidewell {

class PanelWindow : public Gtk::Window {
 public:
  /// Called once. The URL that was chosen comes with ModalResponse::ok, and is "" otherwise.
  using Answer = std::function<void(platform::ModalResponse response, const std::string& url)>;

  PanelWindow(const PanelRequest& request, Answer answer);

  /// Shows the window in front of all others, also where the window manager keeps windows in the background that no
  /// action of the user has opened.
  void presentInFront();

 private:
  void addChoices(const PanelRequest& request);
  void addButtons(const PanelRequest& request);
  void addButton(Gtk::Button& button, platform::ModalResponse response);
  void watchKeysAndClicks();
  void openGateAfterASecond();
  bool pressed(guint key, Gdk::ModifierType state);
  void openGate();
  void choose(platform::ModalResponse response);
  void finish(platform::ModalResponse response, const std::string& url = "");

  Answer answer_;
  AnswerGate gate_;
  std::vector<std::string> urls_;
  std::vector<Gtk::CheckButton*> choices_;
  Gtk::Box content_{Gtk::Orientation::VERTICAL, 12};
  Gtk::Label message_;
  Gtk::Box list_{Gtk::Orientation::VERTICAL, 4};
  Gtk::ScrolledWindow scrolled_;
  Gtk::Box buttons_{Gtk::Orientation::HORIZONTAL, 8};
  Gtk::Button never_;
  Gtk::Button cancel_;
  Gtk::Button confirm_;
};

}  // namespace tidewell
