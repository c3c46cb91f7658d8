#include "MainApplication/settings/MenuActions.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "MainApplication/settings/Texts.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

std::string escaped(const std::string& text) {
  char* markup = g_markup_escape_text(text.c_str(), -1);
  std::string copy = markup;
  g_free(markup);
  return copy;
}

/// Opens the installed documents.
void showHelp(GSimpleAction*, GVariant*, gpointer application) {
  const std::string page = platform::linux_::GettextBundle::sharedFolderOfExecutable() + "/tidewell/help/README.md";
  GtkWindow* window = gtk_application_get_active_window(GTK_APPLICATION(application));
  char* uri = g_filename_to_uri(page.c_str(), nullptr, nullptr);
  gtk_show_uri(window, uri, GDK_CURRENT_TIME);
  g_free(uri);
}

void showAbout(GSimpleAction*, GVariant*, gpointer application) {
  GtkWidget* about = adw_about_window_new();
  auto* window = ADW_ABOUT_WINDOW(about);
  adw_about_window_set_application_name(window, kDisplayName);
  adw_about_window_set_application_icon(window, kWindowIdentifier);
  adw_about_window_set_developer_name(window, "Emberline Studio");
  adw_about_window_set_version(window, TIDEWELL_VERSION);
  adw_about_window_set_copyright(window, "© 2026 The Tidewell authors");
  adw_about_window_set_license_type(window, GTK_LICENSE_MIT_X11);
  adw_about_window_set_comments(window, localized("Removes what browsers keep about you when they quit.").c_str());
  gtk_window_set_transient_for(GTK_WINDOW(about), gtk_application_get_active_window(GTK_APPLICATION(application)));
  gtk_window_present(GTK_WINDOW(about));
}

}  // namespace

void addMenuActions(GtkApplication* application) {
  const std::initializer_list<std::pair<const char*, void (*)(GSimpleAction*, GVariant*, gpointer)>> actions = {
      {"help", showHelp}, {"about", showAbout}};
  for (const auto& [name, activated] : actions) {
    GSimpleAction* action = g_simple_action_new(name, nullptr);
    g_signal_connect(action, "activate", G_CALLBACK(activated), application);
    g_action_map_add_action(G_ACTION_MAP(application), G_ACTION(action));
    g_object_unref(action);
  }
}

void addShortcutsWindow(GtkApplicationWindow* window) {
  const std::initializer_list<std::pair<const char*, std::string>> shortcuts = {
      {"F1", localized("Help")},
      {"F10", localized("Main Menu")},
      {"&lt;Control&gt;z", localized("Undo")},
      {"Escape &lt;alt&gt;Left", localized("Back")},
      {"&lt;Control&gt;question", localized("Keyboard Shortcuts")},
      {"&lt;Control&gt;w", localized("Close")}};
  std::string form =
      "<interface><object class='GtkShortcutsWindow' id='shortcuts'><property name='modal'>1</property>"
      "<child><object class='GtkShortcutsSection'><child><object class='GtkShortcutsGroup'>";
  for (const auto& [keys, text] : shortcuts) {
    form += std::string("<child><object class='GtkShortcutsShortcut'><property name='accelerator'>") + keys +
            "</property><property name='title'>" + escaped(text) + "</property></object></child>";
  }
  form += "</object></child></object></child></object></interface>";
  GtkBuilder* builder = gtk_builder_new_from_string(form.c_str(), -1);
  gtk_application_window_set_help_overlay(window, GTK_SHORTCUTS_WINDOW(gtk_builder_get_object(builder, "shortcuts")));
  g_object_unref(builder);
}

}  // namespace tidewell
