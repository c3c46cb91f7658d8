// The program of the settings window. Starting it again brings the open window to the front.

#include <gtkmm.h>
#include <libintl.h>

#include <clocale>
#include <memory>

#include "MainApplication/settings/SettingsWindow.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Platform/Linux/host/LineLog.h"
#include "Platform/Path.h"
#include "Worker/Identity.h"

namespace {

namespace linux_ = platform::linux_;

class Application : public Gtk::Application {
 public:
  explicit Application(linux_::SqliteUserDefaults& domains)
      : Gtk::Application("com.emberlinestudio.Tidewell"), domains_(domains) {
    set_accels_for_action("window.close", {"<Control>w", "<Control>q"});
  }

 protected:
  void on_activate() override {
    if (!window_) {
      window_ = std::make_unique<tidewell::SettingsWindow>(domains_);
      add_window(*window_);
    }
    window_->present();
  }

 private:
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
