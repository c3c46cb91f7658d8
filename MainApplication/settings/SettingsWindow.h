// The settings window: the browsers, notifications and overwriting, and a message when something has failed.
//
// Reads the settings again whenever it gets the focus, because other programs change them too.
#pragma once

#include <gtkmm.h>

#include <memory>
#include <set>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/settings/BrowserRow.h"
#include "MainApplication/settings/PreviewWindow.h"
#include "MainApplication/settings/WorkerClient.h"

namespace tidewell {

class SettingsWindow : public Gtk::ApplicationWindow {
 public:
  /// The settings' files must outlive the window.
  explicit SettingsWindow(platform::linux_::SqliteUserDefaults& domains);

  /// Brings the row of that browser into view, with the focus on it. Nothing happens for one that isn't there.
  void showBrowser(const std::string& bundleIdentifier);

 private:
  /// A switch with a text beside it, and a setting behind it.
  struct Option {
    const char* key;
    Gtk::Switch* widget;
  };

  void addMessage();
  void addBrowsers();
  void addOptions();
  void addOption(Gtk::Box& list, const char* key, const std::string& name, const std::string& explanation);
  void addHeading(const char* text);

  void enable(const Browser& browser, bool on);
  void allow(const Browser& browser);
  void preview(const Browser& browser);
  void answered(const Browser& browser, WorkerClient::Outcome outcome);
  void workerRuns(bool isRunning);

  void showState();
  void showMessage(const std::string& text);  // "" for none

  SettingsStore settings_;
  const std::vector<const Browser*> browsers_ = settings_.knownBrowsers();
  Gtk::Box outer_{Gtk::Orientation::VERTICAL};
  Gtk::ScrolledWindow scrolled_;
  Gtk::Box content_{Gtk::Orientation::VERTICAL, 12};
  Gtk::Box message_{Gtk::Orientation::HORIZONTAL, 8};
  Gtk::Label messageText_;
  Gtk::Box list_{Gtk::Orientation::VERTICAL};
  std::vector<BrowserRow*> rows_;  // in the order of browsers_
  std::vector<Option> options_;
  std::set<const Browser*> asking_;
  std::unique_ptr<PreviewWindow> preview_;
  bool isShowing_ = false;                // the program itself is setting the switches
  std::unique_ptr<WorkerClient> worker_;  // last: it calls into all the rest
};

}  // namespace tidewell
