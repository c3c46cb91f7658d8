// Which processes of this user run which application, at this moment.
//
// What it knows never changes, so it may be used from any thread.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Platform/Linux/processes/ProcessTable.h"
#include "Platform/WatchedApplication.h"

namespace platform::linux_ {

class ApplicationProcesses {
 public:
  /// What a look at the process table finds of one application.
  struct Processes {
    std::vector<pid_t> mains;
    std::vector<pid_t> helpers;
  };
  using Found = std::vector<Processes>;  // for each application

  /// `executables` are those that were found of each application, if they were looked for. In the applications' places
  /// a leading "~/" must have been replaced. The applications must outlive the object.
  explicit ApplicationProcesses(const std::vector<WatchedApplication>& applications,
                                const std::vector<FoundExecutables>& executables = {});

  /// The index of the application whose program lies at a path.
  std::optional<std::size_t> applicationRunning(const std::string& executable) const;

  /// Looks at the process table.
  Found look() const;

 private:
  void sortIn(const ProcessInfo& process, const std::map<pid_t, ProcessInfo>& mains, Found& found) const;

  const std::vector<WatchedApplication>& applications_;
  std::map<std::string, std::size_t> programs_;   // files that were found, and whose application each is
  std::set<std::string, std::less<>> baseNames_;  // the file names that any application's program can have
};

}  // namespace platform::linux_
