#include "MainApplication/settings/PreviewWindow.h"

#include <glibmm/miscutils.h>

#include "MainApplication/settings/PreviewRows.h"
#include "MainApplication/settings/ProgramBeside.h"
#include "MainApplication/settings/Texts.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

constexpr int kWidth = 680;
constexpr int kHeight = 560;
constexpr int kLeastWidth = 360;
constexpr int kLeastHeight = 294;
constexpr int kMargin = 12;

constexpr char kMaking[] = "making";
constexpr char kMessage[] = "message";
constexpr char kList[] = "list";

GtkWidget* newWrappedLabel(const std::string& text) {
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_label_set_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  return label;
}

}  // namespace

PreviewWindow::PreviewWindow(GtkWindow* parent, const Browser& browser)
    : window_(GTK_WINDOW(adw_window_new())), pages_(gtk_stack_new()), cancellable_(g_cancellable_new()) {
  gtk_window_set_title(window_, localized("Preview").c_str());
  gtk_window_set_transient_for(window_, parent);
  gtk_window_set_modal(window_, TRUE);
  gtk_window_set_default_size(window_, kWidth, kHeight);
  gtk_widget_set_size_request(GTK_WIDGET(window_), kLeastWidth, kLeastHeight);
  addHeader(localized("What would be removed from %@ now", {browser.name}));

  addShortcut(GTK_WIDGET(window_), GDK_KEY_Escape, GdkModifierType{}, [this] { gtk_window_close(window_); });
  addShortcut(GTK_WIDGET(window_), GDK_KEY_w, GDK_CONTROL_MASK, [this] { gtk_window_close(window_); });
  const auto closing = +[](GtkWindow* window, gpointer self) -> gboolean {
    static_cast<PreviewWindow*>(self)->stop();
    gtk_widget_set_visible(GTK_WIDGET(window), FALSE);
    return TRUE;  // it is destroyed with the object
  };
  g_signal_connect(window_, "close-request", G_CALLBACK(closing), this);
  start(browser);
}

PreviewWindow::~PreviewWindow() {
  stop();
  g_object_unref(cancellable_);
  g_clear_object(&program_);
  gtk_window_destroy(window_);
}

void PreviewWindow::addHeader(const std::string& heading) {
  GtkWidget* header = adw_header_bar_new();
  cancel_ = gtk_button_new_with_label(localized("Cancel").c_str());
  on(cancel_, "clicked", [this] { gtk_window_close(window_); });
  adw_header_bar_pack_start(ADW_HEADER_BAR(header), cancel_);

  GtkWidget* spinner = gtk_spinner_new();
  gtk_spinner_start(GTK_SPINNER(spinner));
  setAccessibleName(spinner, localized("The preview is being made"));
  gtk_stack_add_named(GTK_STACK(pages_), spinner, kMaking);
  message_ = adw_status_page_new();
  gtk_stack_add_named(GTK_STACK(pages_), message_, kMessage);
  addList(heading);
  gtk_widget_set_vexpand(pages_, TRUE);

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_box_append(GTK_BOX(box), header);
  GtkWidget* title = newWrappedLabel(heading);
  gtk_widget_add_css_class(title, "title-4");
  gtk_widget_set_margin_top(title, kMargin);
  total_ = newWrappedLabel("");
  for (GtkWidget* label : {title, total_}) {
    gtk_widget_set_margin_start(label, kMargin);
    gtk_widget_set_margin_end(label, kMargin);
    gtk_widget_set_margin_bottom(label, kMargin / 2);
    gtk_box_append(GTK_BOX(box), label);
  }
  gtk_widget_set_visible(total_, FALSE);
  gtk_box_append(GTK_BOX(box), pages_);
  adw_window_set_content(ADW_WINDOW(window_), box);
}

void PreviewWindow::addList(const std::string& heading) {
  list_ = gtk_list_view_new(nullptr, newPreviewRows());
  setAccessibleName(list_, heading);
  // A click on a group, or Return, unfolds it.
  gtk_list_view_set_single_click_activate(GTK_LIST_VIEW(list_), TRUE);
  const auto unfold = +[](GtkListView* list, guint position, gpointer) {
    gpointer row = g_list_model_get_item(G_LIST_MODEL(gtk_list_view_get_model(list)), position);
    auto* folded = GTK_TREE_LIST_ROW(row);
    gtk_tree_list_row_set_expanded(folded, gtk_tree_list_row_get_expanded(folded) != FALSE ? FALSE : TRUE);
    g_object_unref(row);
  };
  g_signal_connect(list_, "activate", G_CALLBACK(unfold), nullptr);
  GtkWidget* scrolled = gtk_scrolled_window_new();
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
  gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), list_);
  gtk_stack_add_named(GTK_STACK(pages_), scrolled, kList);
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
    showMessage(localized("The preview could not be made."), error->message);
    g_error_free(error);
    return;
  }
  g_subprocess_communicate_async(
      program_, nullptr, cancellable_,
      [](GObject*, GAsyncResult* result, gpointer self) {
        // If cancelled, the window may have been destroyed.
        if (g_cancellable_is_cancelled(g_task_get_cancellable(G_TASK(result))) != 0) return;
        static_cast<PreviewWindow*>(self)->ended(result);
      },
      this);
}

void PreviewWindow::ended(GAsyncResult* result) {
  GBytes* output = nullptr;
  GBytes* errors = nullptr;
  GError* error = nullptr;
  if (g_subprocess_communicate_finish(program_, result, &output, &errors, &error) == 0) {
    showMessage(localized("The preview could not be made."), error->message);
    g_error_free(error);
    return;
  }
  const auto text = [](GBytes* bytes) {
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string copy(data != nullptr ? data : "", size);
    g_bytes_unref(bytes);
    return copy;
  };
  const std::string printed = text(output);
  const std::string message = text(errors);
  const auto list =
      g_subprocess_get_successful(program_) != 0 ? PreviewList::from(printed, Glib::get_home_dir()) : std::nullopt;
  if (list) return show(*list);
  showMessage(localized("The preview could not be made."), message);
}

void PreviewWindow::show(const PreviewList& list) {
  if (list.groups.empty()) return showMessage(localized("There is nothing to remove."), "");
  gtk_label_set_text(GTK_LABEL(total_), list.total.c_str());
  gtk_widget_set_visible(total_, list.total.empty() ? FALSE : TRUE);
  GtkSelectionModel* model = newPreviewModel(list);
  gtk_list_view_set_model(GTK_LIST_VIEW(list_), model);
  g_object_unref(model);
  gtk_stack_set_visible_child_name(GTK_STACK(pages_), kList);
  gtk_widget_set_visible(cancel_, FALSE);
  gtk_widget_grab_focus(list_);
}

void PreviewWindow::showMessage(const std::string& title, const std::string& text) {
  adw_status_page_set_title(ADW_STATUS_PAGE(message_), title.c_str());
  char* escaped = g_markup_escape_text(platform::printable(text).c_str(), -1);
  adw_status_page_set_description(ADW_STATUS_PAGE(message_), escaped);
  g_free(escaped);
  gtk_stack_set_visible_child_name(GTK_STACK(pages_), kMessage);
  gtk_widget_set_visible(cancel_, FALSE);
}

}  // namespace tidewell
