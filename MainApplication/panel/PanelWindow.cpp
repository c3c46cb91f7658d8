#include "MainApplication/panel/PanelWindow.h"

#include <gdk/gdk.h>
#include <libintl.h>
#ifdef GDK_WINDOWING_X11
#include <gdk/x11/gdkx.h>
#endif

#include <utility>

#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using platform::ModalResponse;

constexpr int kWidth = 520;
constexpr int kMargin = 18;
constexpr int kMessageCharacters = 60;
constexpr unsigned kFirstMilliseconds = 1000;

/// A label whose first letter is the mnemonic.
std::string withMnemonic(const std::string& text) {
  std::string label = "_";
  for (const char character : text) label += character == '_' ? std::string("__") : std::string(1, character);
  return label;
}

AnswerGate::Key kindOf(guint key, Gdk::ModifierType state) {
  switch (key) {
    case GDK_KEY_Tab:
    case GDK_KEY_ISO_Left_Tab:
    case GDK_KEY_Left:
    case GDK_KEY_Right:
    case GDK_KEY_Up:
    case GDK_KEY_Down:
      return AnswerGate::Key::kMovesFocus;
    case GDK_KEY_Alt_L:
    case GDK_KEY_Alt_R:
      return AnswerGate::Key::kMnemonic;
    default:
      break;
  }
  const bool hasAlt = (state & Gdk::ModifierType::ALT_MASK) != Gdk::ModifierType();
  return hasAlt ? AnswerGate::Key::kMnemonic : AnswerGate::Key::kOther;
}

}  // namespace

PanelWindow::PanelWindow(const PanelRequest& request, Answer answer) : answer_(std::move(answer)) {
  set_title(platform::printable(request.title));
  set_default_size(kWidth, -1);
  set_modal(true);
  content_.set_margin(kMargin);
  set_child(content_);

  message_.set_text(platform::printable(request.message));
  message_.set_wrap(true);
  message_.set_max_width_chars(kMessageCharacters);
  message_.set_xalign(0);
  content_.append(message_);
  addChoices(request);
  addButtons(request);

  watchKeysAndClicks();
  signal_map().connect([this] { openGateAfterASecond(); });
  signal_close_request().connect(
      [this] {
        if (gate_.isOpen()) finish(ModalResponse::cancel);
        return true;
      },
      false);
}

void PanelWindow::watchKeysAndClicks() {
  const auto keys = Gtk::EventControllerKey::create();
  keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
  keys->signal_key_pressed().connect([this](guint key, guint, Gdk::ModifierType state) { return pressed(key, state); },
                                     false);
  add_controller(keys);
  const auto clicks = Gtk::GestureClick::create();
  clicks->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
  clicks->signal_pressed().connect([this](int, double, double) { gate_.clicked(); });
  add_controller(clicks);
  property_is_active().signal_changed().connect([this] {
    if (!is_active()) gate_.left();
  });
}

/// Returns whether the key goes no further.
bool PanelWindow::pressed(guint key, Gdk::ModifierType state) {
  const AnswerGate::Key kind = kindOf(key, state);
  if (!gate_.passes(kind)) return true;
  if (kind != AnswerGate::Key::kOther) return false;
  const bool confirms = key == GDK_KEY_Return || key == GDK_KEY_KP_Enter || key == GDK_KEY_ISO_Enter;
  if (key == GDK_KEY_Escape) {
    finish(ModalResponse::cancel);
  } else if (confirms && !never_.has_focus() && !cancel_.has_focus()) {
    choose(ModalResponse::ok);
  } else {
    return false;
  }
  return true;
}

/// The second begins when the window has been drawn: the second frame follows the first that was.
void PanelWindow::openGateAfterASecond() {
  add_tick_callback([this, isSecond = false](const Glib::RefPtr<Gdk::FrameClock>&) mutable {
    if (!std::exchange(isSecond, true)) return true;
    const auto opens = sigc::mem_fun(*this, &PanelWindow::openGate);  // not when the window is gone by then
    Glib::signal_timeout().connect_once(opens, kFirstMilliseconds);
    return false;
  });
}

void PanelWindow::openGate() {
  gate_.open();
  for (Gtk::Button* button : {&never_, &cancel_}) button->set_sensitive(true);
  confirm_.set_sensitive(!choices_.empty());
  confirm_.grab_focus();
}

// Later versions of GTK want gtk_window_present() for this, which takes the time of the last event: there was none
// here.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS
void PanelWindow::presentInFront() {
  set_visible(true);
  GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(gobj()));
  guint32 now = GDK_CURRENT_TIME;
#ifdef GDK_WINDOWING_X11
  // With a timestamp the request counts as the user's action; without one the window could stay in the background.
  if (GDK_IS_X11_SURFACE(surface)) now = gdk_x11_get_server_time(surface);
#endif
  gtk_window_present_with_time(GTK_WINDOW(gobj()), now);
}
G_GNUC_END_IGNORE_DEPRECATIONS

void PanelWindow::addChoices(const PanelRequest& request) {
  const int preselected = request.preselected();
  for (const PanelChoice& choice : request.choices) {
    auto* button = Gtk::make_managed<Gtk::CheckButton>();
    // A long path is shortened in the middle; the tool tip and screen readers have all of it.
    const std::string path = platform::printable(choice.path);
    auto* label = Gtk::make_managed<Gtk::Label>(path);
    label->set_ellipsize(Pango::EllipsizeMode::MIDDLE);
    label->set_xalign(0);
    label->set_hexpand(true);
    button->set_child(*label);
    button->set_tooltip_text(path);
    gtk_accessible_update_property(GTK_ACCESSIBLE(button->gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, path.c_str(), -1);
    button->set_sensitive(choice.exists);
    if (!choices_.empty()) button->set_group(*choices_.front());
    if (static_cast<int>(choices_.size()) == preselected) button->set_active(true);
    choices_.push_back(button);
    urls_.push_back(choice.url);
    list_.append(*button);
  }
  scrolled_.set_child(list_);
  scrolled_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  scrolled_.set_propagate_natural_height(true);
  content_.append(scrolled_);
}

void PanelWindow::addButtons(const PanelRequest& request) {
  cancel_.set_label(request.offersNever ? ::dgettext("tidewell", "Not _Now") : ::dgettext("tidewell", "Cancel"));
  cancel_.set_halign(Gtk::Align::END);
  cancel_.set_hexpand(true);
  confirm_.set_label(withMnemonic(platform::printable(request.prompt)));
  confirm_.add_css_class("suggested-action");
  never_.set_label(::dgettext("tidewell", "Ne_ver"));
  never_.set_tooltip_text(::dgettext("tidewell",
                                     "The folder is left as it is. You are asked for it again only when you want to "
                                     "allow it in the settings."));
  if (request.offersNever) addButton(never_, ModalResponse::never);
  addButton(cancel_, ModalResponse::cancel);
  addButton(confirm_, ModalResponse::ok);
  content_.append(buttons_);
  set_default_widget(confirm_);
}

void PanelWindow::addButton(Gtk::Button& button, ModalResponse response) {
  button.set_use_underline(true);
  button.set_sensitive(false);  // until the gate opens
  button.signal_clicked().connect([this, response] { choose(response); });
  buttons_.append(button);
}

void PanelWindow::choose(ModalResponse response) {
  if (response != ModalResponse::ok) return finish(response);
  for (std::size_t index = 0; index < choices_.size(); ++index) {
    if (choices_[index]->get_active()) return finish(response, urls_[index]);
  }
}

void PanelWindow::finish(ModalResponse response, const std::string& url) {
  if (const Answer answer = std::exchange(answer_, nullptr)) answer(response, url);
}

}  // namespace tidewell
