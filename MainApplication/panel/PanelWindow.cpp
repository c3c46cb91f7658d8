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

constexpr int kWidth = 520;
constexpr int kMargin = 18;
constexpr int kMessageCharacters = 60;

}  // namespace

PanelWindow::PanelWindow(const PanelRequest& request, Answer answer) : answer_(std::move(answer)) {
  set_title(request.title);
  set_default_size(kWidth, -1);
  set_modal(true);
  content_.set_margin(kMargin);
  set_child(content_);

  message_.set_text(request.message);
  message_.set_wrap(true);
  message_.set_max_width_chars(kMessageCharacters);
  message_.set_xalign(0);
  content_.append(message_);
  addChoices(request);
  addButtons(request.prompt);

  const auto keys = Gtk::EventControllerKey::create();
  keys->signal_key_pressed().connect(
      [this](guint key, guint, Gdk::ModifierType) {
        if (key != GDK_KEY_Escape) return false;
        finish("");
        return true;
      },
      false);
  add_controller(keys);
  signal_close_request().connect(
      [this] {
        finish("");
        return true;
      },
      false);
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
    auto* label = Gtk::make_managed<Gtk::Label>(platform::printable(choice.path));
    label->set_ellipsize(Pango::EllipsizeMode::MIDDLE);
    label->set_xalign(0);
    label->set_hexpand(true);
    button->set_child(*label);
    button->set_tooltip_text(choice.path);
    gtk_accessible_update_property(GTK_ACCESSIBLE(button->gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, choice.path.c_str(),
                                   -1);
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

void PanelWindow::addButtons(const std::string& prompt) {
  cancel_.set_label(::dgettext("tidewell", "Cancel"));
  cancel_.signal_clicked().connect([this] { finish(""); });
  confirm_.set_label(prompt);
  confirm_.add_css_class("suggested-action");
  confirm_.signal_clicked().connect([this] { confirm(); });
  confirm_.set_sensitive(!choices_.empty());
  buttons_.set_halign(Gtk::Align::END);
  buttons_.append(cancel_);
  buttons_.append(confirm_);
  content_.append(buttons_);
  set_default_widget(confirm_);
  confirm_.grab_focus();
}

void PanelWindow::confirm() {
  for (std::size_t index = 0; index < choices_.size(); ++index) {
    if (choices_[index]->get_active()) return finish(urls_[index]);
  }
}

void PanelWindow::finish(const std::string& url) {
  if (const Answer answer = std::exchange(answer_, nullptr)) answer(url);
}

}  // namespace tidewell
