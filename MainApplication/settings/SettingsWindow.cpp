#include "MainApplication/settings/SettingsWindow.h"

#include <libintl.h>

#include <algorithm>

#include "MainApplication/settings/Accessible.h"
#include "Platform/Format.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr int kWidth = 720;
constexpr int kHeight = 580;
constexpr int kMargin = 18;
constexpr int kOptionMargin = 12;
constexpr int kExplanationCharacters = 64;

const char* settingsFailed() {
  return ::dgettext("tidewell", "The settings could not be saved.");
}

Gtk::Label* wrappedLabel(const std::string& text) {
  auto* label = Gtk::make_managed<Gtk::Label>(text);
  label->set_wrap(true);
  label->set_xalign(0);
  label->set_max_width_chars(kExplanationCharacters);
  return label;
}

}  // namespace

SettingsWindow::SettingsWindow(platform::linux_::SqliteUserDefaults& domains) : settings_(domains) {
  set_title(kDisplayName);
  set_icon_name("com.emberlinestudio.Tidewell");
  set_default_size(kWidth, kHeight);
  content_.set_margin(kMargin);
  scrolled_.set_vexpand(true);
  scrolled_.set_child(content_);
  scrolled_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  scrolled_.set_propagate_natural_height(true);
  outer_.append(message_);  // above the scrolled part, so that it is always visible
  outer_.append(scrolled_);
  set_child(outer_);
  addMessage();
  addBrowsers();
  addOptions();
  showState();
  property_is_active().signal_changed().connect([this] {
    if (is_active()) showState();
  });
  worker_ = std::make_unique<WorkerClient>([this](bool isRunning) { workerRuns(isRunning); });
}

void SettingsWindow::showBrowser(const std::string& bundleIdentifier) {
  for (std::size_t index = 0; index < rows_.size(); ++index) {
    if (browsers_[index]->bundleIdentifier == bundleIdentifier) rows_[index]->focusSwitch();
  }
}

void SettingsWindow::addMessage() {
  auto* icon = Gtk::make_managed<Gtk::Image>();
  icon->set_from_icon_name("dialog-warning-symbolic");
  messageText_.set_wrap(true);
  messageText_.set_xalign(0);
  messageText_.set_hexpand(true);
  messageText_.set_max_width_chars(kExplanationCharacters);
  messageText_.property_accessible_role() = Gtk::Accessible::Role::ALERT;
  message_.append(*icon);
  message_.append(messageText_);
  message_.set_margin(kMargin);
  message_.set_margin_bottom(0);
  message_.set_visible(false);
}

void SettingsWindow::addHeading(const char* text) {
  auto* heading = wrappedLabel(text);
  heading->add_css_class("heading");
  content_.append(*heading);
}

void SettingsWindow::addBrowsers() {
  addHeading(::dgettext("tidewell", "Clean after these browsers when they quit"));
  for (const Browser* known : browsers_) {
    const Browser& browser = *known;
    if (!rows_.empty()) list_.append(*Gtk::make_managed<Gtk::Separator>());
    const BrowserRow::Actions actions{[this, &browser](bool on) { enable(browser, on); },
                                      [this, &browser] { allow(browser); }, [this, &browser] { preview(browser); }};
    rows_.push_back(Gtk::make_managed<BrowserRow>(browser, actions));
    list_.append(*rows_.back());
  }
  auto* frame = Gtk::make_managed<Gtk::Frame>();
  frame->set_child(list_);
  content_.append(*frame);
}

void SettingsWindow::addOptions() {
  addHeading(::dgettext("tidewell", "When a browser is cleaned"));
  auto* list = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
  addOption(*list, kDisplayNotificationsKey, ::dgettext("tidewell", "Show a notification"), "");
  list->append(*Gtk::make_managed<Gtk::Separator>());
  addOption(*list, kSecureDeleteDataKey, ::dgettext("tidewell", "Overwrite files before they are removed"),
            ::dgettext("tidewell",
                       "On a hard disk this makes removed files hard to recover, but on SSDs and on copy-on-write file "
                       "systems such as Btrfs the old contents can stay on the disk all the same: only an encrypted "
                       "disk protects them there."));
  auto* frame = Gtk::make_managed<Gtk::Frame>();
  frame->set_child(*list);
  content_.append(*frame);
}

void SettingsWindow::addOption(Gtk::Box& list, const char* key, const std::string& name,
                               const std::string& explanation) {
  auto* texts = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 2);
  texts->set_hexpand(true);
  texts->set_valign(Gtk::Align::CENTER);
  texts->append(*wrappedLabel(name));
  auto* widget = Gtk::make_managed<Gtk::Switch>();
  widget->set_valign(Gtk::Align::CENTER);
  setAccessibleName(*widget, name);
  if (!explanation.empty()) {
    auto* label = wrappedLabel(explanation);
    label->add_css_class("dim-label");
    texts->append(*label);
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget->gobj()), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   explanation.c_str(), -1);
  }
  widget->property_active().signal_changed().connect([this, key, widget] {
    if (isShowing_ || settings_.setFlag(key, widget->get_active())) return;
    showState();
    showMessage(settingsFailed());
  });
  auto* row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kOptionMargin);
  row->set_margin(kOptionMargin);
  row->append(*texts);
  row->append(*widget);
  list.append(*row);
  options_.push_back({key, widget});
}

void SettingsWindow::enable(const Browser& browser, bool on) {
  if (!settings_.setEnabled(browser, on)) {
    showState();
    return showMessage(settingsFailed());
  }
  if (on) allow(browser);
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
  const char* why =
      outcome == WorkerClient::Outcome::kNotRunning
          ? ::dgettext("tidewell", "The folders of %@ could not be asked for: the Tidewell worker is not running.")
          : ::dgettext("tidewell", "The folders of %@ could not be asked for: the Tidewell worker does not answer.");
  showMessage(platform::formatted(why, {browser.name}));
}

void SettingsWindow::workerRuns(bool isRunning) {
  showMessage(isRunning ? ""
                        : ::dgettext("tidewell",
                                     "The Tidewell worker is not running. Nothing is removed until it is started."));
}

void SettingsWindow::preview(const Browser& browser) {
  preview_ = std::make_unique<PreviewWindow>(*this, browser);
  preview_->present();
}

void SettingsWindow::showState() {
  isShowing_ = true;
  const auto running = runningBrowsers();
  for (std::size_t index = 0; index < rows_.size(); ++index) {
    const Browser& browser = *browsers_[index];
    BrowserRow::State state{settings_.isEnabled(browser), settings_.allowed(browser), asking_.contains(&browser),
                            !settings_.neverAsked(browser).empty(), std::nullopt};
    if (const auto found = running.find(browser.bundleIdentifier); found != running.end()) {
      state.running = found->second;
    }
    rows_[index]->show(state);
  }
  for (const Option& option : options_) option.widget->set_active(settings_.flag(option.key));
  isShowing_ = false;
}

void SettingsWindow::showMessage(const std::string& text) {
  messageText_.set_text(text);
  message_.set_visible(!text.empty());
}

}  // namespace tidewell
