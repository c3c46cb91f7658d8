#include "MainApplication/settings/Widgets.h"

#include <utility>

#include "MainApplication/settings/Texts.h"

namespace tidewell {
namespace {

/// Lets all texts in a widget take as many lines as they need.
void wrapTexts(GtkWidget* widget) {
  if (GTK_IS_LABEL(widget)) {
    gtk_label_set_ellipsize(GTK_LABEL(widget), PANGO_ELLIPSIZE_NONE);
    gtk_label_set_wrap(GTK_LABEL(widget), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(widget), PANGO_WRAP_WORD_CHAR);
  }
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    wrapTexts(child);
  }
}

/// Names the lists in a widget.
void nameLists(GtkWidget* widget, const std::string& name) {
  if (GTK_IS_LIST_BOX(widget)) return setAccessibleName(widget, name);
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    nameLists(child, name);
  }
}

}  // namespace

void on(gpointer object, const char* signal, Action action) {
  const auto call = +[](Action* called) { (*called)(); };
  const auto forget = +[](gpointer kept, GClosure*) { delete static_cast<Action*>(kept); };
  g_signal_connect_data(object, signal, G_CALLBACK(call), new Action(std::move(action)), forget, G_CONNECT_SWAPPED);
}

void setAccessibleName(GtkWidget* widget, const std::string& name) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

void setAccessibleDescription(GtkWidget* widget, const std::string& description) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, description.c_str(), -1);
}

void addShortcut(GtkWidget* widget, guint key, GdkModifierType modifiers, Action action) {
  const auto call = +[](GtkWidget*, GVariant*, gpointer called) -> gboolean {
    (*static_cast<Action*>(called))();
    return TRUE;
  };
  const auto forget = +[](gpointer kept) { delete static_cast<Action*>(kept); };
  GtkEventController* keys = gtk_shortcut_controller_new();
  gtk_shortcut_controller_add_shortcut(
      GTK_SHORTCUT_CONTROLLER(keys),
      gtk_shortcut_new(gtk_keyval_trigger_new(key, modifiers),
                       gtk_callback_action_new(call, new Action(std::move(action)), forget)));
  gtk_widget_add_controller(widget, keys);
}

GtkWidget* newRow(const std::string& title, const std::string& subtitle) {
  GtkWidget* row = adw_action_row_new();
  adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
  adw_action_row_set_title_lines(ADW_ACTION_ROW(row), 0);
  adw_action_row_set_subtitle_lines(ADW_ACTION_ROW(row), 0);
  setRowTexts(row, title, subtitle);
  return row;
}

void setRowTexts(GtkWidget* row, const std::string& title, const std::string& subtitle) {
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), title.c_str());
  adw_action_row_set_subtitle(ADW_ACTION_ROW(row), subtitle.c_str());
  setAccessibleDescription(row, subtitle);  // its name is the title
}

void leadTo(GtkWidget* row, Action open) {
  GtkWidget* arrow = gtk_image_new_from_icon_name("go-next-symbolic");
  gtk_accessible_update_state(GTK_ACCESSIBLE(arrow), GTK_ACCESSIBLE_STATE_HIDDEN, TRUE, -1);
  adw_action_row_add_suffix(ADW_ACTION_ROW(row), arrow);
  gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(row), TRUE);
  on(row, "activated", std::move(open));
}

GtkWidget* newRowButton(const std::string& text, const std::string& accessibleName, Action clicked) {
  GtkWidget* button = gtk_button_new_with_label(text.c_str());
  gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
  setAccessibleName(button, accessibleName);
  on(button, "clicked", std::move(clicked));
  return button;
}

GtkWidget* newIconButton(const char* icon, const std::string& accessibleName, Action clicked) {
  GtkWidget* button = gtk_button_new_from_icon_name(icon);
  gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
  gtk_widget_set_tooltip_text(button, accessibleName.c_str());
  setAccessibleName(button, accessibleName);
  on(button, "clicked", std::move(clicked));
  return button;
}

AdwPreferencesGroup* newGroup(const std::string& title, const std::string& description) {
  GtkWidget* group = adw_preferences_group_new();
  char* escaped = g_markup_escape_text(title.c_str(), -1);
  adw_preferences_group_set_title(ADW_PREFERENCES_GROUP(group), escaped);
  g_free(escaped);
  if (!description.empty()) {
    escaped = g_markup_escape_text(description.c_str(), -1);
    adw_preferences_group_set_description(ADW_PREFERENCES_GROUP(group), escaped);
    g_free(escaped);
  }
  wrapTexts(group);  // its title would be cut off where the window is narrow
  return ADW_PREFERENCES_GROUP(group);
}

SwitchRow::SwitchRow(const std::string& title, const std::string& subtitle, std::function<void(bool on)> changed)
    : row_(newRow(title, subtitle)), switch_(gtk_switch_new()) {
  gtk_widget_set_valign(switch_, GTK_ALIGN_CENTER);
  if (!subtitle.empty()) setAccessibleDescription(switch_, subtitle);
  adw_action_row_add_suffix(ADW_ACTION_ROW(row_), switch_);
  adw_action_row_set_activatable_widget(ADW_ACTION_ROW(row_), switch_);  // which is named by the row's title
  tidewell::on(switch_, "notify::active", [this, changed = std::move(changed)] {
    const bool isOn = gtk_switch_get_active(GTK_SWITCH(switch_)) != FALSE;
    if (isOn != shown_) changed(shown_ = isOn);
  });
}

void SwitchRow::show(bool on) {
  shown_ = on;
  gtk_switch_set_active(GTK_SWITCH(switch_), on ? TRUE : FALSE);
}

Page::Page(const std::string& title, const Action& back)
    : title_(title),
      box_(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)),
      header_(ADW_HEADER_BAR(adw_header_bar_new())),
      groups_(adw_preferences_page_new()) {
  g_object_ref_sink(box_);
  adw_header_bar_set_title_widget(header_, adw_window_title_new(title.c_str(), nullptr));
  gtk_box_append(GTK_BOX(box_), GTK_WIDGET(header_));
  gtk_widget_set_vexpand(groups_, TRUE);
  gtk_box_append(GTK_BOX(box_), groups_);
  if (!back) return;
  back_ = newIconButton("go-previous-symbolic", localized("Back"), back);
  adw_header_bar_pack_start(header_, back_);
  addShortcut(box_, GDK_KEY_Escape, GdkModifierType{}, back);
}

Page::~Page() {
  g_object_unref(box_);
}

void Page::add(AdwPreferencesGroup* group) {
  const char* title = adw_preferences_group_get_title(group);
  if (title == nullptr || *title == '\0') nameLists(GTK_WIDGET(group), title_);
  adw_preferences_page_add(ADW_PREFERENCES_PAGE(groups_), group);
}

void Page::takeFocus() {
  if (gtk_widget_child_focus(groups_, GTK_DIR_TAB_FORWARD) == FALSE && back_ != nullptr) gtk_widget_grab_focus(back_);
}

void ChangingRows::clear() {
  for (GtkWidget* row : rows_) adw_preferences_group_remove(group_, row);
  rows_.clear();
}

void ChangingRows::add(GtkWidget* row) {
  adw_preferences_group_add(group_, row);
  rows_.push_back(row);
}

}  // namespace tidewell
