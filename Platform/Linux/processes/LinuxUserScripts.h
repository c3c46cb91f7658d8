// Starts the person's scripts, as processes of their own.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "Platform/Linux/processes/ProcessExit.h"
#include "Platform/Linux/threads/RunLoop.h"
#include "Platform/UserUnixTask.h"

namespace platform::linux_ {

/// On the main thread. What it started is waited for by the run loop, so that nothing of it is left behind.
class LinuxUserScripts : public UserScripts {
 public:
  /// Only scripts that lie in `folder` are run. The loop must outlive the object, and the object its tasks.
  LinuxUserScripts(RunLoop& loop, std::string folder) : loop_(loop), folder_(std::move(folder)) {}

  Result<std::unique_ptr<UserUnixTask>> taskWithURL(const FileURL& url) override;

 private:
  class Task;

  void start(const std::string& script);

  RunLoop& loop_;
  const std::string folder_;
  std::map<pid_t, std::unique_ptr<ProcessExit>> running_;
};

}  // namespace platform::linux_
