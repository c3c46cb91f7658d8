// Cells as processes of the kernel's: each runs the cell's program, which gives up everything before it listens.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Cells.h"
#include "Platform/Linux/cells/CellProcess.h"
#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Log.h"

namespace platform::linux_ {

/// Must outlive its cells. Says in the log, once, when the kernel has no means to close a cell's door.
class LinuxCells : public Cells {
 public:
  static constexpr std::chrono::milliseconds kPatience{60'000};  // with one cell, for a whole conversation

  /// Takes the cell's program, open by a descriptor: when a package is replaced, the worker that runs keeps the cell
  /// that it was built with.
  LinuxCells(FileDescriptor program, Log& log, std::chrono::milliseconds patience = kPatience);

  /// The program that belongs to this process's own: in the same folder where both were built, or in that for programs
  /// of programs where they are installed, else the worker's own, which stands in for it. Without a descriptor when
  /// there is none.
  static FileDescriptor programOfExecutable();

  Result<std::unique_ptr<Cell>> open() override;
  std::shared_ptr<void> startAhead() override;

 private:
  class Conversation;

  /// Starts one that is not needed yet, if any is to be started ahead.
  void startNext();
  void greeted(bool isClosed);
  void stopAhead();

  const FileDescriptor program_;
  Log& log_;
  const std::chrono::milliseconds patience_;
  const std::size_t mostAhead_;

  std::mutex mutex_;  // guards all below
  std::size_t aheadCount_ = 0;
  std::vector<CellProcess> ready_;
  bool hasWarned_ = false;
};

}  // namespace platform::linux_
