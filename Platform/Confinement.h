// Work that can change nothing but what it was given.
#pragma once

#include <string>
#include <vector>

#include "Platform/Dispatch.h"

namespace platform {

/// All operations may be called from any thread.
class Confinement {
 public:
  virtual ~Confinement() = default;

  /// Runs the task, and returns when it is done. Whatever it tries, it can write, make, move and remove files only in
  /// these folders and those below, and where the platform keeps what is its own. What it may read is not bounded. A
  /// folder that is not there is passed over. What the task throws is thrown here.
  ///
  /// Where the system has no means for it, the task runs without.
  virtual void run(const std::vector<std::string>& folders, const Task& task) = 0;

  /// In such a task: runs another one outside of it, since a confined one can't look at processes. Elsewhere the same
  /// as calling it. What it throws is thrown here.
  virtual void outside(const Task& task) = 0;
};

/// For those who change nothing.
class NoConfinement : public Confinement {
 public:
  void run(const std::vector<std::string>&, const Task& task) override { task(); }
  void outside(const Task& task) override { task(); }
};

}  // namespace platform
