#include "MainApplication/settings/PreviewWindow.h"

#include <libintl.h>

#include <filesystem>

#include "MainApplication/settings/Accessible.h"
#include "MainApplication/settings/PreviewText.h"
#include "Platform/Format.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

constexpr int kWidth = 680;
constexpr int kHeight = 420;
constexpr int kMargin = 18;
constexpr int kTextMargin = 8;

/// The path of a program in the folder of the running one.
std::string programBeside(const char* name) {
  std::error_code error;
  return (std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / name).string();
}

std::string taken(char* text) {
  std::string copy = text != nullptr ? text : "";
  g_free(text);
  return copy;
}

}  // namespace

PreviewWindow::PreviewWindow(Gtk::Window& parent, const Browser& browser) : cancellable_(g_cancellable_new()) {
  set_title(::dgettext("tidewell", "Preview"));
  set_transient_for(parent);
  set_modal(true);
  set_default_size(kWidth, kHeight);
  content_.set_margin(kMargin);
  set_child(content_);

  const std::string heading =
      platform::formatted(::dgettext("tidewell", "What would be removed from %@ now"), {browser.name});
  heading_.set_text(heading);
  heading_.set_wrap(true);
  heading_.set_xalign(0);
  content_.append(heading_);

  spinner_.start();
  spinner_.set_vexpand(true);
  content_.append(spinner_);
  text_.set_editable(false);
  text_.set_monospace(true);
  text_.set_accepts_tab(false);
  text_.set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
  text_.set_left_margin(kTextMargin);
  text_.set_right_margin(kTextMargin);
  text_.set_top_margin(kTextMargin);
  text_.set_bottom_margin(kTextMargin);
  setAccessibleName(text_, heading);
  scrolled_.set_child(text_);
  scrolled_.set_has_frame(true);
  scrolled_.set_vexpand(true);
  scrolled_.set_visible(false);
  content_.append(scrolled_);

  close_.set_label(::dgettext("tidewell", "Close"));
  close_.set_halign(Gtk::Align::END);
  close_.signal_clicked().connect([this] { close(); });
  content_.append(close_);
  set_default_widget(close_);
  close_.grab_focus();

  const auto keys = Gtk::ShortcutController::create();
  keys->add_shortcut(
      Gtk::Shortcut::create(Gtk::KeyvalTrigger::create(GDK_KEY_Escape), Gtk::NamedAction::create("window.close")));
  add_controller(keys);
  signal_close_request().connect(
      [this] {
        stop();
        return false;
      },
      false);
  start(browser);
}

PreviewWindow::~PreviewWindow() {
  stop();
  g_object_unref(cancellable_);
  g_clear_object(&program_);
}

void PreviewWindow::stop() {
  g_cancellable_cancel(cancellable_);
  if (program_ != nullptr) g_subprocess_force_exit(program_);
}

void PreviewWindow::start(const Browser& browser) {
  const std::string program = programBeside("tidewell");
  const std::string name(browser.name);
  GError* error = nullptr;
  program_ =
      g_subprocess_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE),
                       &error, program.c_str(), "preview", name.c_str(), "--json", nullptr);
  if (program_ == nullptr) {
    showText(platform::printable(error->message));
    g_error_free(error);
    return;
  }
  g_subprocess_communicate_utf8_async(
      program_, nullptr, cancellable_,
      [](GObject*, GAsyncResult* result, gpointer self) {
        // If cancelled, the window has been destroyed.
        if (g_cancellable_is_cancelled(g_task_get_cancellable(G_TASK(result))) != 0) return;
        static_cast<PreviewWindow*>(self)->ended(result);
      },
      this);
}

void PreviewWindow::ended(GAsyncResult* result) {
  char* output = nullptr;
  char* errors = nullptr;
  GError* error = nullptr;
  if (g_subprocess_communicate_utf8_finish(program_, result, &output, &errors, &error) == 0) {
    showText(platform::printable(error->message));
    g_error_free(error);
    return;
  }
  const std::string printed = taken(output);
  const std::string message = taken(errors);
  if (g_subprocess_get_successful(program_) != 0) return showText(readablePreview(printed, Glib::get_home_dir()));
  showText(message.empty() ? ::dgettext("tidewell", "The preview could not be made.") : message);
}

void PreviewWindow::showText(const std::string& text) {
  text_.get_buffer()->set_text(text);
  text_.get_buffer()->place_cursor(text_.get_buffer()->begin());
  spinner_.stop();
  spinner_.set_visible(false);
  scrolled_.set_visible(true);
}

}  // namespace tidewell
