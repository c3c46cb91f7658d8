// The worker, as the main application reaches it over the session bus.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Linux/bus/SessionBus.h"
#include "Platform/OpenPanel.h"
#include "Worker/cleaning/Report.h"

namespace tidewell {

class WorkerConnection {
 public:
  /// The error says why there is no session bus. The loop must outlive the object.
  static platform::Result<std::unique_ptr<WorkerConnection>> open(platform::linux_::RunLoop& loop);

  /// Whether the worker runs now.
  bool isRunning();

  /// Has the bus start the worker, where it is installed so; false when it does not run after that. Takes up to 25
  /// seconds.
  bool start();

  /// Asks the worker to obtain a browser's grants. Returns the worker's answer; absent when there is no worker, or when
  /// it doesn't answer within `patience`. Meanwhile `panel` answers the worker's open panels: it gets the folders that
  /// can be chosen as file URLs, nearest first, and returns one of them. Without `panel`, another program answers them.
  struct PanelQuestion {
    std::string title;
    std::string message;
    std::vector<std::string> enabled;
    bool offersNever = false;  // whether ModalResponse::never can be answered
  };
  struct PanelAnswer {
    platform::ModalResponse response = platform::ModalResponse::cancel;
    std::string url;  // with ModalResponse::ok
  };
  using Panel = std::function<PanelAnswer(const PanelQuestion& question)>;
  std::optional<std::string> requestAccess(const std::string& bundleIdentifier, std::chrono::seconds patience,
                                           const Panel& panel = nullptr);

  struct Cleaned {
    std::optional<Report> report;  // absent when there is none, or the worker has gone
    std::string errorName;         // what the worker refused with; see Worker/Cleanings.h
    bool isUnknown = false;        // the worker can't be asked: it is an older one, or has no reports of this home
  };
  /// Has a browser cleaned, and waits until the last run is over. `progress` is called when the first one is.
  Cleaned clean(const std::string& bundleIdentifier, bool evenIfRunning,
                const std::function<void(const Report& soFar)>& progress);

  /// Tells the worker that an application has quit, or is to be cleaned even if it runs.
  bool announceQuit(const std::string& applicationName, const std::string& bundleIdentifier, bool evenIfRunning);

 private:
  explicit WorkerConnection(std::unique_ptr<platform::linux_::SessionBus> bus) : bus_(std::move(bus)) {}

  /// Sends a call to the worker; returns its reply, an error or not; null when the worker has gone, or `isLate`.
  platform::linux_::BusMessage replyTo(const platform::linux_::BusMessage& call, const std::function<bool()>& isLate);

  static int panelCalled(sd_bus_message* call, void* data, sd_bus_error* error);

  std::unique_ptr<platform::linux_::SessionBus> bus_;
  Panel panel_;
};

}  // namespace tidewell
