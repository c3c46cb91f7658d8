// The person's scripts that run outside the worker's own confinement.
#pragma once

#include <memory>

#include "Platform/FileURL.h"
#include "Platform/Result.h"

namespace platform {

/// One script, ready to be started. On the main thread.
class UserUnixTask {
 public:
  virtual ~UserUnixTask() = default;

  /// Starts the script without arguments, its standard streams on /dev/null, and returns at once. Its outcome is not
  /// reported. The object may be dropped while it runs.
  virtual void execute() = 0;
};

class UserScripts {
 public:
  virtual ~UserScripts() = default;

  /// A task for a script in the program's Application Scripts folder. The error says why there is none: the file is
  /// missing, can't be executed, or lies elsewhere.
  virtual Result<std::unique_ptr<UserUnixTask>> taskWithURL(const FileURL& url) = 0;
};

}  // namespace platform
