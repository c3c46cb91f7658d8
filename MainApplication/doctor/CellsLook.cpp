#include "MainApplication/doctor/CellsLook.h"

#include <chrono>
#include <filesystem>

#include "Platform/Linux/cells/CellLoop.h"
#include "Platform/Linux/cells/CellProcess.h"
#include "Platform/Linux/cells/LinuxCells.h"

namespace tidewell {
namespace {

namespace linux_ = platform::linux_;
using Grade = Finding::Grade;

constexpr std::chrono::seconds kPatience{10};
constexpr std::size_t kLongestGreeting = 64;  // bytes

}  // namespace

CellsLook CellsLook::now() {
  CellsLook look;
  const linux_::FileDescriptor program = linux_::LinuxCells::programOfExecutable();
  if (!program) return look;
  std::error_code unknown;  // then the name is "", as of a program that is missing
  look.program =
      std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(program.get()), unknown).filename().string();
  auto cell = linux_::CellProcess::start(program.get());
  if (!cell) {
    look.error = cell.error().message();
    return look;
  }
  const auto greeting = cell->hear(kLongestGreeting, std::chrono::steady_clock::now() + kPatience);
  if (greeting) {
    look.door = linux_::CellDoor::from(*greeting);
  } else {
    look.error = greeting.error().message();
  }
  return look;
}

Findings CellsLook::findings() const {
  if (program.empty() || !error.empty()) {
    return {{Grade::kWrong, "cells",
             program.empty() ? localizable("The program %@ is missing: what sites wrote can't be read, and is left.",
                                           {std::string(linux_::kCellName)})
                             : localizable("The program %@ can't be started: %@", {program, error}),
             localizable("Install Tidewell as a whole.")}};
  }
  Findings found;
  if (program != linux_::kCellName) {
    found.push_back(
        {Grade::kRemark, "cells",
         localizable("The program %@ is missing; the worker's own stands in for it.", {std::string(linux_::kCellName)}),
         localizable("Install Tidewell as a whole.")});
  }
  const Phrase advice = localizable("Use a kernel that has both: Linux 5.13 or later, with seccomp and Landlock.");
  if (!door.isClosed()) {
    found.push_back({Grade::kWrong, "kernel",
                     localizable("The kernel has neither seccomp nor Landlock: what sites wrote is read unconfined."),
                     advice});
  } else if (!door.isFiltered) {
    found.push_back(
        {Grade::kRemark, "kernel", localizable("The kernel has no seccomp; Landlock alone confines cells."), advice});
  } else if (!door.isLandlocked) {
    found.push_back(
        {Grade::kRemark, "kernel", localizable("The kernel has no Landlock; seccomp alone confines cells."), advice});
  } else {
    found.push_back({Grade::kGood, "kernel", localizable("What sites wrote is read where it can do no harm."), {}});
  }
  return found;
}

}  // namespace tidewell
