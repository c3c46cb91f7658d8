// Tells when one process has ended.
#pragma once

#include <sys/types.h>

#include <memory>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/threads/EventSource.h"
#include "Platform/Linux/threads/RunLoop.h"
#include "Platform/Workspace.h"

namespace platform::linux_ {

/// Holds a process descriptor: it stands for this very process, whatever becomes of its number, and is told when the
/// last of its threads has ended. Main thread.
class ProcessExit {
 public:
  /// `ended` runs once, as a task of the loop, unless the object goes before. Without a descriptor (the process has
  /// ended, or there are no descriptors left) the object is not valid.
  ProcessExit(RunLoop& loop, pid_t pid, Task ended);

  bool isValid() const { return source_ != nullptr; }

  /// Whether the process has ended: it was told so, or had gone before it could be held.
  bool hasEnded() const { return hasEnded_; }

 private:
  RunLoop& loop_;
  Task ended_;
  FileDescriptor descriptor_;
  EventSource source_;
  bool hasEnded_ = false;
};

/// The same for whoever wants to know: see Workspace::watchProcess().
class HeldProcess : public ProcessWatch {
 public:
  static std::unique_ptr<ProcessWatch> watch(RunLoop& loop, pid_t pid, Task ended);

  HeldProcess(RunLoop& loop, pid_t pid, Task ended);

 private:
  const std::shared_ptr<Task> ended_;  // weakly held by what is to come
  ProcessExit exit_;
};

}  // namespace platform::linux_
