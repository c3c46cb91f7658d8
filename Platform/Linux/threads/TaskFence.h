// Runs tasks so that one that throws ends alone.
#pragma once

#include <utility>

#include "Platform/Dispatch.h"

namespace platform::linux_ {

class TaskFence {
 public:
  /// Before the first task is run. Without a handler nothing is caught.
  void setFailureHandler(Task handler) { failureHandler_ = std::move(handler); }

  /// If the task throws, calls the handler on the same thread. What was thrown is dropped: its text may quote files.
  void run(const Task& task) const {
    if (!failureHandler_) return task();
    try {
      task();
    } catch (...) {
      failureHandler_();
    }
  }

 private:
  Task failureHandler_;
};

}  // namespace platform::linux_
