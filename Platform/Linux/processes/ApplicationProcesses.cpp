#include "Platform/Linux/processes/ApplicationProcesses.h"

#include <algorithm>

#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

bool isHelper(const std::vector<std::string>& arguments, const WatchedApplication& application) {
  const std::vector<std::string>& marks = application.helperMarks;
  return std::any_of(arguments.begin(), arguments.end(), [&marks](const std::string& argument) {
    return std::any_of(marks.begin(), marks.end(), [&argument](const std::string& mark) {
      return mark.ends_with('=') ? argument.starts_with(mark) : argument == mark;
    });
  });
}

}  // namespace

ApplicationProcesses::ApplicationProcesses(const std::vector<WatchedApplication>& applications,
                                           const std::vector<FoundExecutables>& executables)
    : applications_(applications) {
  for (const WatchedApplication& application : applications_) {
    baseNames_.insert(application.executableNames.begin(), application.executableNames.end());
    for (const std::string& place : application.executablePlaces) baseNames_.insert(lastPathComponent(place));
  }
  for (std::size_t index = 0; index < executables.size(); ++index) {
    for (const std::string& program : executables[index].programs) {
      programs_.emplace(program, index);
      baseNames_.insert(lastPathComponent(program));
    }
  }
}

std::optional<std::size_t> ApplicationProcesses::applicationRunning(const std::string& executable) const {
  if (!baseNames_.contains(lastPathComponent(executable))) return std::nullopt;  // nearly all of them
  if (const auto known = programs_.find(executable); known != programs_.end()) return known->second;
  // A place tells more than a name: several makers call their program the same.
  const auto index = [this](auto&& matches) -> std::optional<std::size_t> {
    const auto found = std::find_if(applications_.begin(), applications_.end(), matches);
    if (found == applications_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - applications_.begin());
  };
  if (const auto byPlace = index([&](const auto& application) { return hasPlaceOf(application, executable); })) {
    return byPlace;
  }
  return index([&](const auto& application) { return hasNameOf(application, executable); });
}

void ApplicationProcesses::sortIn(const ProcessInfo& process, const std::map<pid_t, ProcessInfo>& mains,
                                  Found& found) const {
  const auto index = applicationRunning(process.executable);
  if (!index) return;
  // A child that was forked and has not started its own program yet still looks like its parent.
  const auto parent = mains.find(process.parent);
  const bool isUnfinishedChild = parent != mains.end() && parent->second.executable == process.executable &&
                                 parent->second.arguments == process.arguments;
  Processes& processes = found[*index];
  (isUnfinishedChild || isHelper(process.arguments, applications_[*index]) ? processes.helpers : processes.mains)
      .push_back(process.pid);
}

ApplicationProcesses::Found ApplicationProcesses::look() const {
  std::map<pid_t, ProcessInfo> candidates;
  const auto matches = [this](const std::string& executable) { return applicationRunning(executable).has_value(); };
  for (const pid_t pid : ownProcessesRunning(matches)) {
    auto info = processInfo(pid);
    if (info && matches(info->executable)) candidates.emplace(pid, std::move(*info));
  }
  std::map<pid_t, ProcessInfo> mains = candidates;
  std::erase_if(mains, [this](const auto& entry) {
    const ProcessInfo& process = entry.second;
    return isHelper(process.arguments, applications_[*applicationRunning(process.executable)]);
  });
  Found found(applications_.size());
  for (const auto& [pid, info] : candidates) sortIn(info, mains, found);
  return found;
}

}  // namespace platform::linux_
