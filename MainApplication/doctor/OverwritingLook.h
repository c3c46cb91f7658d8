// Does overwriting do what it is wanted for, on the file systems and disks where the enabled browsers keep their data?
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/doctor/Finding.h"

namespace tidewell {

/// The name of a file system that writes changed blocks elsewhere, so that the old ones stay; "" for any other. Takes
/// the kernel's number of its kind.
std::string_view copyingFileSystem(std::uint64_t kind);

struct OverwritingLook {
  struct OfFolder {
    std::string folder = {};
    std::string_view copying = {};  // the file system's name, if it writes elsewhere
    bool isOnSolidState = false;
  };
  bool isWanted = false;
  std::vector<OfFolder> folders = {};  // of the enabled browsers

  static OverwritingLook now(const SettingsStore& settings);
  Findings findings() const;
};

}  // namespace tidewell
