// The graphical open panel: the bus starts it when it is called, and it ends a few seconds after the last panel.

#include <gtkmm.h>
#include <libintl.h>

#include <clocale>

#include "MainApplication/panel/PanelService.h"
#include "Platform/Linux/bus/OpenPanelNames.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Platform/Path.h"

namespace {

constexpr unsigned kLingerMilliseconds = 5000;

/// A service on the bus that opens a window only when a panel is requested.
class Application : public Gtk::Application {
 public:
  Application()
      : Gtk::Application(platform::linux_::kOpenPanelName, Gio::Application::Flags::IS_SERVICE), service_(*this) {
    g_application_set_inactivity_timeout(G_APPLICATION(gobj()), kLingerMilliseconds);
  }

 protected:
  bool dbus_register_vfunc(const Glib::RefPtr<Gio::DBus::Connection>& connection, const Glib::ustring& path) override {
    service_.offer(connection);
    return Gtk::Application::dbus_register_vfunc(connection, path);
  }

 private:
  tidewell::PanelService service_;
};

}  // namespace

int main(int argc, char** argv) {
  platform::linux_::GettextBundle::useTextsBesideProgram();
  return Application().run(argc, argv);
}
