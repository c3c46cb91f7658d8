#include "MainApplication/settings/SettingsWatch.h"

#include <giomm/file.h>
#include <glibmm/main.h>

#include <utility>

namespace tidewell {
namespace {

constexpr unsigned kPauseMilliseconds = 150;  // a change is several writes

}  // namespace

SettingsWatch::SettingsWatch(const std::string& folder, std::function<void()> changed) : changed_(std::move(changed)) {
  try {
    monitor_ = Gio::File::create_for_path(folder)->monitor_directory();
  } catch (const Glib::Error&) {
    return;  // the window still reads them again when it gets the focus
  }
  monitor_->signal_changed().connect([this](const Glib::RefPtr<Gio::File>& file, const Glib::RefPtr<Gio::File>&,
                                            Gio::FileMonitor::Event) { noticed(file->get_path()); });
}

SettingsWatch::~SettingsWatch() {
  pending_.disconnect();
  if (monitor_) monitor_->cancel();
}

void SettingsWatch::noticed(const std::string& path) {
  // What is shared between the readers of a database changes by reading alone.
  if (pending_.connected() || path.ends_with("-shm")) return;
  pending_ = Glib::signal_timeout().connect(
      [this] {
        changed_();
        return false;
      },
      kPauseMilliseconds);
}

}  // namespace tidewell
