#include "MainApplication/doctor/WorkerLook.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "Platform/Linux/bus/BusListener.h"
#include "Platform/Linux/host/UserFolders.h"
#include "Worker/Agent.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using Grade = Finding::Grade;

constexpr char kUnit[] = "tidewell-worker.service";
constexpr char kAutostart[] = "/autostart/tidewell-worker.desktop";

std::string textOf(const char* variable, const std::string& otherwise) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

/// Whether one of the desktop's folders of programs that start with the session has the worker.
bool autostartExists() {
  std::istringstream folders(textOf("XDG_CONFIG_HOME", platform::linux_::homeFolder() + "/.config") + ":" +
                             textOf("XDG_CONFIG_DIRS", "/etc/xdg"));
  std::string folder;
  while (std::getline(folders, folder, ':')) {
    if (::access((folder + kAutostart).c_str(), R_OK) == 0) return true;
  }
  return false;
}

}  // namespace

WorkerLook WorkerLook::now(const platform::Result<std::unique_ptr<platform::linux_::SessionBus>>& bus) {
  WorkerLook look;
  look.hasAutostart = autostartExists();
  if (!bus) {
    look.busError = bus.error().message();
    return look;
  }
  const BusNames names((*bus)->get());
  const auto worker =
      platform::linux_::BusServiceNames::forIdentifier(kBundleIdentifier, kAgentInterface, kAgentMethod, "");
  look.worker = names.reachOf(worker.name);
  look.answers = look.worker == Reach::kNow && names.answers(worker.name, worker.object);
  look.unit = names.unit(kUnit);
  return look;
}

Findings WorkerLook::findings() const {
  if (!busError.empty()) {
    return {{Grade::kWrong, "bus", localizable("There is no session bus (%@), and without one no worker.", {busError}),
             localizable("Run this in your desktop session. DBUS_SESSION_BUS_ADDRESS says where its bus is.")}};
  }
  return {{Grade::kGood, "bus", localizable("There is a session bus."), {}}, ofRunning(), ofNextSession()};
}

Finding WorkerLook::ofRunning() const {
  if (worker == Reach::kNow && answers) return {Grade::kGood, "worker", localizable("The worker is running."), {}};
  if (worker == Reach::kNow) {
    return {Grade::kWrong, "worker", localizable("The worker does not answer."),
            command("systemctl --user restart tidewell-worker")};
  }
  if (unit && unit->state == "failed") {
    return {
        Grade::kWrong, "worker", localizable("The worker has failed."),
        localizable("\"journalctl --user -u tidewell-worker\" says why; \"systemctl --user restart tidewell-worker\" "
                    "starts it anew.")};
  }
  if (worker == Reach::kWhenCalled) {
    return {Grade::kWrong, "worker", localizable("The worker is not running: nothing is cleaned."),
            command("systemctl --user start tidewell-worker")};
  }
  return {Grade::kWrong, "worker", localizable("The worker is not running, and the bus can't start it."),
          localizable("Install Tidewell as a whole.")};
}

Finding WorkerLook::ofNextSession() const {
  if (unit && (unit->startsWithSession == "enabled" || unit->startsWithSession == "enabled-runtime")) {
    return {Grade::kGood, "session", localizable("The service manager starts the worker with the session."), {}};
  }
  if (unit && unit->startsWithSession == "masked") {
    return {Grade::kWrong, "session", localizable("The worker's unit is masked: nothing starts it."),
            command("systemctl --user unmask tidewell-worker")};
  }
  if (unit && !unit->startsWithSession.empty()) {
    return {Grade::kWrong, "session", localizable("The worker is not started with the session."),
            command("systemctl --user enable --now tidewell-worker")};
  }
  if (hasAutostart && !unit) {
    return {Grade::kGood, "session", localizable("The desktop starts the worker with the session."), {}};
  }
  return {Grade::kRemark, "session", localizable("Nothing is known that starts the worker with the session."),
          localizable("Install Tidewell as a whole.")};
}

}  // namespace tidewell
