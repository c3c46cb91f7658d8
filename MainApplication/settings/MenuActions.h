// What the window's menu does: help, the keyboard shortcuts, and what the program is.
#pragma once

#include <adwaita.h>

namespace tidewell {

/// Adds "app.help" and "app.about" to an application. They show what they show above its active window.
void addMenuActions(GtkApplication* application);

/// Gives the window its list of keyboard shortcuts, shown by "win.show-help-overlay".
void addShortcutsWindow(GtkApplicationWindow* window);

}  // namespace tidewell
