// What the window's pages are made of: widgets of libadwaita, which is used from C.
//
// A widget belongs to the one that it is put into. A function that is called on a signal lives as long as the widget.
#pragma once

#include <adwaita.h>

#include <functional>
#include <string>
#include <vector>

namespace tidewell {

using Action = std::function<void()>;

/// Calls `action` at each signal of that name, whatever it carries. Signals that want an answer get none.
void on(gpointer object, const char* signal, Action action);

/// What assistive technologies read, where the visible text alone would not say enough.
void setAccessibleName(GtkWidget* widget, const std::string& name);
void setAccessibleDescription(GtkWidget* widget, const std::string& description);

/// Calls `action` when the key is pressed while the widget, or one in it, has the focus and leaves the key alone.
void addShortcut(GtkWidget* widget, guint key, GdkModifierType modifiers, Action action);

/// A row with a text and a smaller one below it. Both are plain texts, in as many lines as they need.
GtkWidget* newRow(const std::string& title, const std::string& subtitle = {});
void setRowTexts(GtkWidget* row, const std::string& title, const std::string& subtitle);

/// Makes a row one that is clicked, with an arrow at its end: it leads to another page.
void leadTo(GtkWidget* row, Action open);

/// A button at the end of a row. Its accessible name says what its text alone does not.
GtkWidget* newRowButton(const std::string& text, const std::string& accessibleName, Action clicked);
GtkWidget* newIconButton(const char* icon, const std::string& accessibleName, Action clicked);

/// A group of rows under a heading, and under an explanation; "" for none.
AdwPreferencesGroup* newGroup(const std::string& title, const std::string& description = {});

/// A switch in a row. It calls `changed` when the person has changed it, not when the program has.
class SwitchRow {
 public:
  SwitchRow(const std::string& title, const std::string& subtitle, std::function<void(bool on)> changed);
  SwitchRow(const SwitchRow&) = delete;
  SwitchRow& operator=(const SwitchRow&) = delete;

  GtkWidget* widget() const { return row_; }
  void show(bool on);
  void focus() { gtk_widget_grab_focus(switch_); }

 private:
  GtkWidget* row_;
  GtkWidget* switch_;
  bool shown_ = false;  // what the program itself has set the switch to
};

/// A page of the window: a header bar, and groups of rows that scroll below it.
class Page {
 public:
  /// `back` is called by its back button and by Escape; a page without one has no such button.
  Page(const std::string& title, const Action& back);
  virtual ~Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  GtkWidget* widget() const { return box_; }
  AdwHeaderBar* header() const { return header_; }
  void add(AdwPreferencesGroup* group);

  /// Puts the focus on the first thing in the groups that can have it.
  void takeFocus();

  /// Shows what is so now.
  virtual void update() {}

 private:
  const std::string title_;
  GtkWidget* box_;
  AdwHeaderBar* header_;
  GtkWidget* back_ = nullptr;
  GtkWidget* groups_;
};

/// The rows of a group that are made anew when what they show has changed.
class ChangingRows {
 public:
  explicit ChangingRows(AdwPreferencesGroup* group) : group_(group) {}
  void clear();
  void add(GtkWidget* row);

 private:
  AdwPreferencesGroup* group_;
  std::vector<GtkWidget*> rows_;
};

}  // namespace tidewell
