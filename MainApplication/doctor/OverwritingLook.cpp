#include "MainApplication/doctor/OverwritingLook.h"

#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <utility>

#include "Worker/Identity.h"

namespace tidewell {
namespace {

using Grade = Finding::Grade;

/// Whether the disk below a file system says that nothing in it turns. Of a partition the disk itself is asked.
bool isOnSolidState(const std::string& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0) return false;
  const std::string device =
      "/sys/dev/block/" + std::to_string(major(status.st_dev)) + ":" + std::to_string(minor(status.st_dev));
  for (const char* place : {"/queue/rotational", "/../queue/rotational"}) {
    std::ifstream file(device + place);
    char answer = 0;
    if (file >> answer) return answer == '0';
  }
  return false;
}

}  // namespace

std::string_view copyingFileSystem(std::uint64_t kind) {
  constexpr std::array<std::pair<std::uint64_t, std::string_view>, 6> kKinds{{{0x9123683E, "Btrfs"},
                                                                              {0x2FC12FC1, "ZFS"},
                                                                              {0xCA451A4E, "bcachefs"},
                                                                              {0xF2F52010, "F2FS"},
                                                                              {0x3434, "NILFS"},
                                                                              {0x794C7630, "overlayfs"}}};
  const auto found =
      std::find_if(kKinds.begin(), kKinds.end(), [kind](const auto& each) { return each.first == kind; });
  return found != kKinds.end() ? found->second : std::string_view();
}

OverwritingLook OverwritingLook::now(const SettingsStore& settings) {
  OverwritingLook look;
  look.isWanted = settings.flag(kSecureDeleteDataKey);
  const Home home = settings.home();
  for (const Browser* browser : settings.knownBrowsers()) {
    if (!settings.isEnabled(*browser)) continue;
    for (const std::string& folder : home.layout->foldersToAllow(*browser)) {
      struct statfs status {};
      if (::statfs(folder.c_str(), &status) != 0) continue;  // it is not there
      look.folders.push_back(
          {folder, copyingFileSystem(static_cast<std::uint32_t>(status.f_type)), isOnSolidState(folder)});
    }
  }
  return look;
}

Findings OverwritingLook::findings() const {
  if (!isWanted)
    return {{Grade::kGood, "overwriting", localizable("Files are removed without being overwritten."), {}}};
  const Phrase advice = localizable("Only an encrypted disk keeps what was removed from being read.");
  Findings found;
  for (const OfFolder& each : folders) {
    if (each.copying.empty()) continue;
    found.push_back({Grade::kWrong, "overwriting",
                     localizable("Overwriting is void in %@: %@ writes elsewhere, and the old contents stay.",
                                 {each.folder, std::string(each.copying)}),
                     advice});
  }
  const auto solid = std::find_if(folders.begin(), folders.end(),
                                  [](const OfFolder& each) { return each.copying.empty() && each.isOnSolidState; });
  if (solid != folders.end()) {
    found.push_back(
        {Grade::kRemark, "overwriting",
         localizable("%@ is on a solid-state disk, which may keep the old contents all the same.", {solid->folder}),
         advice});
  }
  if (found.empty()) {
    found.push_back({Grade::kGood, "overwriting", localizable("Files are overwritten before they are removed."), {}});
  }
  return found;
}

}  // namespace tidewell
