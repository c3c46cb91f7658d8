#include "MainApplication/doctor/Doctor.h"

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/doctor/CellsLook.h"
#include "MainApplication/doctor/DesktopLook.h"
#include "MainApplication/doctor/GrantsLook.h"
#include "MainApplication/doctor/HomeLook.h"
#include "MainApplication/doctor/OverwritingLook.h"
#include "MainApplication/doctor/QuitsLook.h"
#include "MainApplication/doctor/WorkerLook.h"
#include "Worker/Identity.h"

namespace tidewell {

Findings examine(platform::linux_::SqliteUserDefaults& domains) {
  const SettingsStore settings(domains);
  platform::linux_::RunLoop loop;
  Findings all;
  const auto add = [&all](const Findings& found) { all.insert(all.end(), found.begin(), found.end()); };
  const auto bus = platform::linux_::SessionBus::open(loop);
  add(WorkerLook::now(bus).findings());
  if (bus) {
    const BusNames names((*bus)->get());
    add(PanelLook::now(names).findings());
    add(NotificationsLook::now(names, settings.flag(kDisplayNotificationsKey)).findings());
  }
  add(HomeLook::now(settings).findings());
  add(GrantsLook::now(settings, domains).findings());
  add(QuitsLook::now(loop, settings).findings());
  add(OverwritingLook::now(settings).findings());
  add(CellsLook::now().findings());
  return all;
}

}  // namespace tidewell
