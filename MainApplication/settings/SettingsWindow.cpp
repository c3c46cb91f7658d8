#include "MainApplication/settings/SettingsWindow.h"

#include <algorithm>
#include <utility>

#include "MainApplication/settings/HistoryPage.h"
#include "MainApplication/settings/KeptSitesPage.h"
#include "MainApplication/settings/MenuActions.h"
#include "MainApplication/settings/Texts.h"
#include "Worker/Cleanings.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 700;
constexpr int kLeastWidth = 360;
constexpr int kLeastHeight = 294;

const char kCancel[] = "cancel";
const char kClean[] = "clean";

}  // namespace

SettingsWindow::SettingsWindow(Gtk::Application& application, platform::linux_::SqliteUserDefaults& domains,
                               const Action& closed)
    : domains_(domains),
      window_(GTK_WINDOW(adw_application_window_new(application.gobj()))),
      pages_(ADW_LEAFLET(adw_leaflet_new())),
      changes_(domains, ADW_TOAST_OVERLAY(adw_toast_overlay_new()), [this] { showState(); }),
      message_([this] { startWorker(); }),
      main_(browsers_, settings_, changes_,
            {[this](const Browser& browser, bool on) { enable(browser, on); },
             [this](const Browser& browser) { openBrowser(browser); },
             [this] { open(std::make_unique<KeptSitesPage>(settings_, changes_, [this] { back(); })); },
             [this] { open(std::make_unique<HistoryPage>(settings_, changes_, [this] { back(); })); }}) {
  gtk_window_set_title(window_, kDisplayName);
  gtk_window_set_icon_name(window_, kWindowIdentifier);
  gtk_window_set_default_size(window_, kWidth, kHeight);
  gtk_widget_set_size_request(GTK_WIDGET(window_), kLeastWidth, kLeastHeight);

  addShortcut(GTK_WIDGET(window_), GDK_KEY_z, GDK_CONTROL_MASK, [this] { changes_.undo(); });
  addShortcutsWindow(GTK_APPLICATION_WINDOW(window_));

  adw_leaflet_set_can_unfold(pages_, FALSE);
  adw_leaflet_set_can_navigate_back(pages_, TRUE);
  adw_leaflet_append(pages_, main_.widget());
  on(pages_, "notify::visible-child", [this] {
    const bool isBehind = adw_leaflet_get_visible_child(pages_) != main_.widget();
    gtk_accessible_update_state(GTK_ACCESSIBLE(main_.widget()), GTK_ACCESSIBLE_STATE_HIDDEN, isBehind ? TRUE : FALSE,
                                -1);
  });
  on(pages_, "notify::child-transition-running", [this] { dropPagesBehind(); });
  gtk_widget_set_vexpand(GTK_WIDGET(pages_), TRUE);
  GtkWidget* outer = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_box_append(GTK_BOX(outer), GTK_WIDGET(pages_));
  gtk_box_append(GTK_BOX(outer), message_.widget());
  adw_toast_overlay_set_child(changes_.overlay(), outer);
  adw_application_window_set_content(ADW_APPLICATION_WINDOW(window_), GTK_WIDGET(changes_.overlay()));

  const auto close = +[](GtkWindow*, gpointer action) -> gboolean {
    (*static_cast<Action*>(action))();
    return TRUE;  // whoever has made the window destroys it
  };
  const auto forget = +[](gpointer action, GClosure*) { delete static_cast<Action*>(action); };
  g_signal_connect_data(window_, "close-request", G_CALLBACK(close), new Action(closed), forget, GConnectFlags{});
  on(window_, "notify::is-active", [this] {
    if (gtk_window_is_active(window_) != FALSE) showState();
  });
  showState();
  watch_ = std::make_unique<SettingsWatch>(platform::linux_::SqliteUserDefaults::folderFromEnvironment(),
                                           [this] { showState(); });
  worker_ = std::make_unique<WorkerClient>([this](bool isRunning) { workerRuns(isRunning); });
}

SettingsWindow::~SettingsWindow() {
  worker_.reset();
  watch_.reset();
  preview_.reset();
  gtk_window_destroy(window_);  // with all that is in it
}

std::vector<const Browser*> SettingsWindow::possibleBrowsers() const {
  std::vector<const Browser*> possible = settings_.knownBrowsers();
  const Home home = settings_.home();
  std::erase_if(possible, [&home](const Browser* browser) { return !home.layout->mayHave(*browser); });
  return possible;
}

void SettingsWindow::showBrowser(const std::string& bundleIdentifier) {
  const auto isIt = [&](const Browser* browser) { return browser->bundleIdentifier == bundleIdentifier; };
  const auto found = std::find_if(browsers_.begin(), browsers_.end(), isIt);
  if (found == browsers_.end()) return;
  openBrowser(**found);
  browserPage_->focusSwitch();
}

void SettingsWindow::open(std::unique_ptr<Page> page) {
  browserPage_ = nullptr;
  if (page_) left_.push_back(std::move(page_));
  page_ = std::move(page);
  page_->update();
  adw_leaflet_append(pages_, page_->widget());
  adw_leaflet_set_visible_child(pages_, page_->widget());
  page_->takeFocus();
  dropPagesBehind();
}

void SettingsWindow::openBrowser(const Browser& browser) {
  auto page = std::make_unique<BrowserPage>(
      browser, settings_, changes_,
      BrowserPage::Actions{[this] { back(); }, [this, &browser](bool on) { enable(browser, on); },
                           [this, &browser] { allow(browser); }, [this, &browser] { preview(browser); },
                           [this, &browser] { cleanAfterQuestion(browser); }});
  BrowserPage* shown = page.get();
  open(std::move(page));
  browserPage_ = shown;
  showState();
}

void SettingsWindow::back() {
  adw_leaflet_set_visible_child(pages_, main_.widget());
  dropPagesBehind();
}

void SettingsWindow::dropPagesBehind() {
  if (adw_leaflet_get_child_transition_running(pages_) != FALSE) return;
  if (page_ && adw_leaflet_get_visible_child(pages_) != page_->widget()) {
    browserPage_ = nullptr;
    left_.push_back(std::move(page_));
  }
  // Not at once: the page may be in the middle of a signal of its own.
  for (std::unique_ptr<Page>& page : std::exchange(left_, {})) {
    adw_leaflet_remove(pages_, page->widget());
    g_idle_add_once(
        +[](gpointer dropped) { delete static_cast<Page*>(dropped); }, page.release());
  }
}

void SettingsWindow::enable(const Browser& browser, bool on) {
  if (changes_.enable(browser, on) && on) allow(browser);
}

void SettingsWindow::allow(const Browser& browser) {
  if (!asking_.insert(&browser).second) return;
  showMessage("");
  showState();
  worker_->requestAccess(std::string(browser.bundleIdentifier),
                         [this, &browser](WorkerClient::Outcome outcome) { answered(browser, outcome); });
}

void SettingsWindow::answered(const Browser& browser, WorkerClient::Outcome outcome) {
  asking_.erase(&browser);
  showState();
  if (outcome == WorkerClient::Outcome::kAnswered) return;
  showMessage(
      outcome == WorkerClient::Outcome::kNotRunning
          ? localized("The folders of %@ could not be asked for: the Tidewell worker is not running.", {browser.name})
          : localized("The folders of %@ could not be asked for: the Tidewell worker does not answer.",
                      {browser.name}));
}

void SettingsWindow::preview(const Browser& browser) {
  preview_ = std::make_unique<PreviewWindow>(window_, browser);
  preview_->present();
}

void SettingsWindow::cleanAfterQuestion(const Browser& browser) {
  if (!runningBrowsers().contains(browser.bundleIdentifier)) return clean(browser, false);
  const std::string heading = localized("%@ is running", {browser.name});
  GtkWidget* widget = adw_message_dialog_new(window_, heading.c_str(), nullptr);
  auto* dialog = ADW_MESSAGE_DIALOG(widget);
  adw_message_dialog_set_body(dialog,
                              localized("It may lose what it has open, or complain. Clean it all the same?").c_str());
  adw_message_dialog_add_response(dialog, kCancel, localized("Cancel").c_str());
  adw_message_dialog_add_response(dialog, kClean, localized("Clean").c_str());
  adw_message_dialog_set_response_appearance(dialog, kClean, ADW_RESPONSE_DESTRUCTIVE);
  adw_message_dialog_set_close_response(dialog, kCancel);
  on(dialog, "response::clean", [this, &browser] { clean(browser, true); });
  gtk_window_present(GTK_WINDOW(dialog));
}

void SettingsWindow::clean(const Browser& browser, bool evenIfRunning) {
  if (!cleaning_.insert(&browser).second) return;
  showMessage("");
  showState();
  worker_->clean(std::string(browser.bundleIdentifier), evenIfRunning,
                 [this, &browser](const WorkerClient::Cleaned& result) { cleaned(browser, result); });
}

void SettingsWindow::cleaned(const Browser& browser, const WorkerClient::Cleaned& cleaned) {
  cleaning_.erase(&browser);
  showState();
  if (cleaned.outcome == WorkerClient::Outcome::kAnswered) {
    const std::string what =
        cleaned.items == 0
            ? localized("nothing was there to remove")
            : platform::formatted(localizedPlural("%@ item removed, %@", "%@ items removed, %@", cleaned.items),
                                  {std::to_string(cleaned.items), sizeText(cleaned.bytes)});
    changes_.say(localized("%@: %@", {browser.name, what}));
    if (!cleaned.isDone) showMessage(localized("Something of %@ was left: its page says why.", {browser.name}));
  } else if (cleaned.error == kIsRunningError) {
    showMessage(localized("%@ is running", {browser.name}));
  } else {
    showMessage(localized("%@ could not be cleaned.", {browser.name}));
  }
}

void SettingsWindow::workerRuns(bool isRunning) {
  isWorkerRunning_ = isRunning;
  showMessage("");
  if (browserPage_ != nullptr) showState();
}

void SettingsWindow::startWorker() {
  worker_->start([this] { showMessage(localized("The Tidewell worker could not be started.")); });
}

void SettingsWindow::showMessage(const std::string& text) {
  if (!text.empty() || isWorkerRunning_) return message_.show(text, !isWorkerRunning_);
  message_.show(localized("The Tidewell worker is not running. Nothing is removed until it is started."), true);
}

void SettingsWindow::showState() {
  std::vector<BrowserState> states = BrowserState::of(browsers_, settings_);
  for (std::size_t index = 0; index < states.size(); ++index) {
    states[index].isAsking = asking_.contains(browsers_[index]);
    states[index].isCleaning = cleaning_.contains(browsers_[index]);
    if (browserPage_ != nullptr && &browserPage_->browser() == browsers_[index]) {
      browserPage_->show(states[index], isWorkerRunning_);
    }
  }
  main_.show(states);
  if (page_) page_->update();
}

}  // namespace tidewell
