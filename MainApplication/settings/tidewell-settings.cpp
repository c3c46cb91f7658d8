// The program of the settings window. Starting it again brings the open window to the front. With a browser's
// identifier, from the command line or from another program by the action "show", the window is open at that browser.

#include <gtkmm.h>
#include <libintl.h>

#include <clocale>
#include <memory>

#include "MainApplication/settings/MenuActions.h"
#include "MainApplication/settings/SettingsWindow.h"
#include "Platform/Linux/bus/BusApplications.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Platform/Linux/host/LineLog.h"
#include "Platform/Path.h"
#include "Worker/Identity.h"

namespace {

namespace linux_ = platform::linux_;

constexpr char kBrowserOption[] = "browser";
constexpr int kGoOn = -1;  // no exit status yet

class Application : public Gtk::Application {
 public:
  explicit Application(linux_::SqliteUserDefaults& domains)
      : Gtk::Application(tidewell::kWindowIdentifier), domains_(domains) {
    add_main_option_entry(OptionType::STRING, kBrowserOption, '\0', "Open at the browser of this bundle identifier",
                          "ID");
    signal_handle_local_options().connect(sigc::mem_fun(*this, &Application::handleLocalOptions), false);
    add_action_with_parameter(linux_::kShowAction, Glib::VARIANT_TYPE_STRING, [this](const Glib::VariantBase& browser) {
      activate();
      window_->showBrowser(Glib::VariantBase::cast_dynamic<Glib::Variant<Glib::ustring>>(browser).get());
    });
    set_accels_for_action("window.close", {"<Control>w", "<Control>q"});
  }

 protected:
  void on_startup() override {
    Gtk::Application::on_startup();
    adw_init();
    tidewell::addMenuActions(gobj());
    set_accels_for_action("app.help", {"F1"});
  }

  void on_activate() override {
    if (!window_) {
      window_ = std::make_unique<tidewell::SettingsWindow>(
          *this, domains_, [this] { Glib::signal_idle().connect_once([this] { window_.reset(); }); });
    }
    window_->present();
  }

 private:
  /// Tells the program that runs already, or else this one.
  int handleLocalOptions(const Glib::RefPtr<Glib::VariantDict>& options) {
    Glib::ustring browser;
    if (!options->lookup_value(kBrowserOption, browser)) return kGoOn;
    register_application();
    activate_action(linux_::kShowAction, Glib::Variant<Glib::ustring>::create(browser));
    return kGoOn;
  }

  linux_::SqliteUserDefaults& domains_;
  std::unique_ptr<tidewell::SettingsWindow> window_;
};

}  // namespace

int main(int argc, char** argv) {
  linux_::GettextBundle::useTextsBesideProgram();
  linux_::LineLog log;
  linux_::SqliteUserDefaults domains(linux_::SqliteUserDefaults::folderFromEnvironment(), tidewell::kBundleIdentifier,
                                     log);
  return Application(domains).run(argc, argv);
}
