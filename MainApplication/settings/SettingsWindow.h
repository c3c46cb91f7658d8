// The settings window: a first page with the browsers and what holds for all, and the pages that it leads to.
//
// What it shows follows the settings at once, whoever has changed them. What else can change (programs that were
// installed, browsers that run) is looked at whenever the window gets the focus.
#pragma once

#include <gtkmm/application.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/settings/BrowserPage.h"
#include "MainApplication/settings/Changes.h"
#include "MainApplication/settings/MainPage.h"
#include "MainApplication/settings/MessageBar.h"
#include "MainApplication/settings/PreviewWindow.h"
#include "MainApplication/settings/SettingsWatch.h"
#include "MainApplication/settings/WorkerClient.h"

namespace tidewell {

class SettingsWindow {
 public:
  /// `closed` is called when the person has closed the window, and may not destroy it itself. The settings' files must
  /// outlive it.
  SettingsWindow(Gtk::Application& application, platform::linux_::SqliteUserDefaults& domains, const Action& closed);
  ~SettingsWindow();
  SettingsWindow(const SettingsWindow&) = delete;
  SettingsWindow& operator=(const SettingsWindow&) = delete;

  GtkWindow* window() const { return window_; }
  void present() { gtk_window_present(window_); }

  /// Opens the page of that browser, with the focus on its switch. Nothing happens for one that isn't there.
  void showBrowser(const std::string& bundleIdentifier);

 private:
  std::vector<const Browser*> possibleBrowsers() const;
  void open(std::unique_ptr<Page> page);
  void openBrowser(const Browser& browser);
  void back();
  void dropPagesBehind();

  void enable(const Browser& browser, bool on);
  void allow(const Browser& browser);
  void answered(const Browser& browser, WorkerClient::Outcome outcome);
  void preview(const Browser& browser);
  void cleanAfterQuestion(const Browser& browser);
  void clean(const Browser& browser, bool evenIfRunning);
  void cleaned(const Browser& browser, const WorkerClient::Cleaned& cleaned);

  void workerRuns(bool isRunning);
  void startWorker();
  void showMessage(const std::string& text);  // "" for none but that the worker does not run
  void showState();

  platform::linux_::SqliteUserDefaults& domains_;
  SettingsStore settings_{domains_};
  const std::vector<const Browser*> browsers_ = possibleBrowsers();
  GtkWindow* window_;
  AdwLeaflet* pages_;
  Changes changes_;
  MessageBar message_;
  MainPage main_;
  std::unique_ptr<Page> page_;               // the one that is open above the first
  std::vector<std::unique_ptr<Page>> left_;  // pages that are still on their way out of sight
  BrowserPage* browserPage_ = nullptr;       // page_, if it is a browser's
  std::set<const Browser*> asking_;
  std::set<const Browser*> cleaning_;
  bool isWorkerRunning_ = true;  // until it is known
  std::unique_ptr<PreviewWindow> preview_;
  std::unique_ptr<SettingsWatch> watch_;
  std::unique_ptr<WorkerClient> worker_;  // last: it calls into all the rest
};

}  // namespace tidewell
