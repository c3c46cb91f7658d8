// Is what sites wrote read in processes that can do nothing else? Starts one, and hears what it could give up.
#pragma once

#include <string>

#include "MainApplication/doctor/Finding.h"
#include "Platform/Linux/cells/CellDoor.h"

namespace tidewell {

struct CellsLook {
  std::string program = {};  // the file's name; "" when there is none
  std::string error = {};    // why it could not be started
  platform::linux_::CellDoor door = {};

  static CellsLook now();
  Findings findings() const;
};

}  // namespace tidewell
