// What assistive technologies read, where the visible text alone would not say enough.
#pragma once

#include <gtkmm/widget.h>

#include <string>

namespace tidewell {

inline void setAccessibleName(Gtk::Widget& widget, const std::string& name) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

}  // namespace tidewell
