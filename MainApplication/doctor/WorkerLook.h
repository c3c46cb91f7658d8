// Is there a session bus, does the worker run, and will it in the next session?
#pragma once

#include <optional>
#include <string>

#include "MainApplication/doctor/BusNames.h"
#include "MainApplication/doctor/Finding.h"

namespace tidewell {

struct WorkerLook {
  std::string busError = {};  // why there is no bus; "" where there is one
  Reach worker = Reach::kNot;
  bool answers = false;
  std::optional<BusNames::Unit> unit = {};
  bool hasAutostart = false;  // the desktop starts it

  static WorkerLook now(const platform::Result<std::unique_ptr<platform::linux_::SessionBus>>& bus);
  Findings findings() const;

 private:
  Finding ofRunning() const;
  Finding ofNextSession() const;
};

}  // namespace tidewell
