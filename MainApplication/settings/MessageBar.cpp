#include "MainApplication/settings/MessageBar.h"

#include <utility>

#include "MainApplication/settings/Texts.h"

namespace tidewell {
namespace {

constexpr int kMargin = 12;

}  // namespace

MessageBar::MessageBar(Action start)
    : bar_(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)),
      text_(GTK_WIDGET(g_object_new(GTK_TYPE_LABEL, "accessible-role", GTK_ACCESSIBLE_ROLE_ALERT, nullptr))),
      start_(gtk_button_new_with_label(localized("Start").c_str())) {
  gtk_label_set_wrap(GTK_LABEL(text_), TRUE);
  gtk_label_set_wrap_mode(GTK_LABEL(text_), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_xalign(GTK_LABEL(text_), 0);
  gtk_widget_set_hexpand(text_, TRUE);
  gtk_widget_set_valign(start_, GTK_ALIGN_CENTER);
  setAccessibleDescription(start_, localized("Start the worker"));
  on(start_, "clicked", std::move(start));
  gtk_widget_add_css_class(start_, "suggested-action");

  GtkWidget* icon = gtk_image_new_from_icon_name("dialog-warning-symbolic");
  gtk_accessible_update_state(GTK_ACCESSIBLE(icon), GTK_ACCESSIBLE_STATE_HIDDEN, TRUE, -1);
  GtkWidget* line = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, kMargin);
  for (GtkWidget* part : {icon, text_, start_}) gtk_box_append(GTK_BOX(line), part);
  gtk_widget_set_margin_start(line, kMargin);
  gtk_widget_set_margin_end(line, kMargin);
  gtk_widget_set_margin_top(line, kMargin);
  gtk_widget_set_margin_bottom(line, kMargin);
  GtkWidget* clamp = adw_clamp_new();  // as wide as the groups above it
  adw_clamp_set_child(ADW_CLAMP(clamp), line);
  gtk_box_append(GTK_BOX(bar_), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));
  gtk_box_append(GTK_BOX(bar_), clamp);
  show("", false);
}

void MessageBar::show(const std::string& text, bool offersStart) {
  gtk_label_set_text(GTK_LABEL(text_), text.c_str());
  gtk_widget_set_visible(start_, offersStart ? TRUE : FALSE);
  gtk_widget_set_visible(bar_, text.empty() ? FALSE : TRUE);
}

}  // namespace tidewell
