// Tells when the settings have changed, whoever has changed them: by the kernel's notes on their folder.
#pragma once

#include <giomm/filemonitor.h>

#include <functional>
#include <string>

namespace tidewell {

class SettingsWatch {
 public:
  /// Calls `changed` a little after a change, once for several that come together. The folder need not exist yet.
  SettingsWatch(const std::string& folder, std::function<void()> changed);
  ~SettingsWatch();
  SettingsWatch(const SettingsWatch&) = delete;
  SettingsWatch& operator=(const SettingsWatch&) = delete;

 private:
  void noticed(const std::string& path);

  std::function<void()> changed_;
  Glib::RefPtr<Gio::FileMonitor> monitor_;  // null where nothing can be watched
  sigc::connection pending_;
};

}  // namespace tidewell
