#include "Platform/Linux/processes/LinuxWorkspace.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

// Each look at the places of programs that finds something new is followed by another. Who changes them faster than we
// look is told of by the watches that are set already.
constexpr int kMostLooks = 8;

bool isHelper(const std::vector<std::string>& arguments, const WatchedApplication& application) {
  const std::vector<std::string>& marks = application.helperMarks;
  return std::any_of(arguments.begin(), arguments.end(), [&marks](const std::string& argument) {
    return std::any_of(marks.begin(), marks.end(), [&argument](const std::string& mark) {
      return mark.ends_with('=') ? argument.starts_with(mark) : argument == mark;
    });
  });
}

LookSchedule::Time timeNow() {
  return std::chrono::ceil<LookSchedule::Time>(std::chrono::steady_clock::now().time_since_epoch());
}

std::vector<WatchedApplication> expandingHomes(std::vector<WatchedApplication> applications) {
  const std::string home = homeFolder();
  for (WatchedApplication& application : applications) {
    for (std::string& place : application.executablePlaces) {
      if (place.starts_with("~/")) place.replace(0, 1, home);
    }
  }
  return applications;
}

}  // namespace

LinuxWorkspace::LinuxWorkspace(RunLoop& loop, std::vector<WatchedApplication> applications)
    : loop_(loop), applications_(expandingHomes(std::move(applications))) {
  for (const WatchedApplication& application : applications_) {
    baseNames_.insert(application.executableNames.begin(), application.executableNames.end());
    for (const std::string& place : application.executablePlaces) baseNames_.insert(lastPathComponent(place));
  }
  for (std::size_t index = 0; index < applications_.size(); ++index) {
    running_.push_back(std::make_unique<RunningApplication>(
        loop_,
        RunningApplication::Callbacks{
            [this, index] { return lookAtProcesses()[index]; },
            [this, index](pid_t pid) -> std::optional<RunningApplication::Identity> {
              auto process = processInfo(pid);
              if (!process) return std::nullopt;
              const bool isApplication = applicationRunning(process->executable) == index;
              return RunningApplication::Identity{process->executable, isApplication, std::move(process->arguments)};
            },
            [this, index](std::vector<Arguments> processes) { quit(index, std::move(processes)); },
            [this] { scanSeveralTimes(); },
        }));
  }
}

LinuxWorkspace::~LinuxWorkspace() = default;

void LinuxWorkspace::start(Options options) {
  options_ = std::move(options);
  watch_ = std::make_unique<PathWatch>(loop_, [this](const PathWatch::Events& events) { happened(events); });
  watch();
  scan();
  scanSeveralTimes();  // one that is being started at this moment was opened before the watch was set
}

// Which processes are whose.

std::optional<std::size_t> LinuxWorkspace::applicationRunning(const std::string& executable) const {
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

void LinuxWorkspace::sortIn(const ProcessInfo& process, const std::map<pid_t, ProcessInfo>& mains, Found& found) const {
  const auto index = applicationRunning(process.executable);
  if (!index) return;
  // A child that was forked and has not started its own program yet still looks like its parent.
  const auto parent = mains.find(process.parent);
  const bool isUnfinishedChild = parent != mains.end() && parent->second.executable == process.executable &&
                                 parent->second.arguments == process.arguments;
  RunningApplication::Processes& processes = found[*index];
  (isUnfinishedChild || isHelper(process.arguments, applications_[*index]) ? processes.helpers : processes.mains)
      .push_back(process.pid);
}

LinuxWorkspace::Found LinuxWorkspace::lookAtProcesses() const {
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

// Looking.

void LinuxWorkspace::scan() {
  const Found found = lookAtProcesses();
  for (std::size_t index = 0; index < running_.size(); ++index) {
    const bool wasRunning = running_[index]->isRunning();
    running_[index]->update(found[index]);
    if (!wasRunning && running_[index]->isRunning()) looks_.found();
  }
}

void LinuxWorkspace::scanAt(const std::vector<LookSchedule::Time>& times, LookSchedule::Time now) {
  for (const LookSchedule::Time due : times) {
    loop_.after(due - now, [this, due] {
      looks_.looked(due);
      scan();
    });
  }
}

/// After something that others can bring about as often as they like.
void LinuxWorkspace::scanAfterOpening() {
  const LookSchedule::Time now = timeNow();
  scanAt(looks_.opened(now), now);
}

void LinuxWorkspace::scanSeveralTimes() {
  const LookSchedule::Time now = timeNow();
  scanAt(looks_.changed(now), now);
}

void LinuxWorkspace::started(pid_t pid) {
  if (pid == 0) return scanAfterOpening();  // some were not told
  const auto executable = executableOfProcess(pid);
  const auto index = executable ? applicationRunning(*executable) : std::nullopt;
  if (index && !running_[*index]->isRunning()) scanAfterOpening();
}

// Watching.

/// Looks once, and watches what was found. Answers whether that is what was watched before already.
bool LinuxWorkspace::lookForPrograms() {
  PathWatch::Interests interests;
  std::vector<FoundExecutables> found = findExecutables(applications_, options_.places, interests);
  for (const FoundExecutables& executables : found) {
    interests.opened.insert(executables.programs.begin(), executables.programs.end());
    interests.opened.insert(executables.scripts.begin(), executables.scripts.end());
  }
  if (!options_.wantedFile.empty()) {
    const std::string writeAheadLog = options_.wantedFile + "-wal";
    interests.modified = {options_.wantedFile, writeAheadLog};
    interests.addAppearing(options_.wantedFile);
    interests.addAppearing(writeAheadLog);
  }
  const bool isSame = interests == interests_ && found == executables_;
  // Set anew all the same: another file may have taken the place of one.
  watchesAll_ = watch_->replace(interests);
  executables_ = std::move(found);
  interests_ = std::move(interests);
  return isSame;
}

void LinuxWorkspace::watch() {
  // What appears between the look and the watch is not told of. So it is looked again after the watches are set, until
  // that finds nothing new: then everything that there was had been watched before it was looked at.
  for (int looks = 0; looks < kMostLooks && (!lookForPrograms() || looks == 0); ++looks) {
  }
  programs_.clear();
  for (std::size_t index = 0; index < executables_.size(); ++index) {
    for (const std::string& program : executables_[index].programs) {
      programs_.emplace(program, index);
      baseNames_.insert(lastPathComponent(program));
    }
  }
  updateConnector();
}

void LinuxWorkspace::happened(const PathWatch::Events& events) {
  if (events.appeared) {
    watch();
  } else if (events.modified) {
    updateConnector();
  }
  if (events.appeared) {
    scan();
    scanSeveralTimes();
  }
  // One that runs is looked for again when it ends.
  bool isNews = false;
  for (std::size_t index = 0; index < executables_.size(); ++index) {
    if (running_[index]->isRunning()) continue;
    for (const std::string& file : events.opened) {
      isNews |= executables_[index].scripts.contains(file) || executables_[index].programs.contains(file);
    }
  }
  if (isNews) scanAfterOpening();
}

void LinuxWorkspace::updateConnector() {
  bool isNeeded = false;
  for (std::size_t index = 0; index < applications_.size(); ++index) {
    const bool isFound = !executables_[index].programs.empty() || !executables_[index].scripts.empty();
    isNeeded |= (!isFound || !watchesAll_) && options_.isWanted(applications_[index]);
  }
  if (!isNeeded) {
    connector_.reset();
  } else if (!connector_ && !hasNoConnector_) {
    connector_ = ProcessConnector::open(loop_, [this](pid_t pid) { started(pid); });
    hasNoConnector_ = connector_ == nullptr;
    scan();  // what has started before
  }
}

// Telling.

void LinuxWorkspace::quit(std::size_t index, std::vector<Arguments> processes) {
  scanSeveralTimes();  // one that is being started at this very moment does not show yet
  tell({applications_[index].applicationName, applications_[index].bundleIdentifier, std::move(processes)});
}

void LinuxWorkspace::announce(const std::string& applicationName, const std::string& bundleIdentifier) {
  tell({applicationName, bundleIdentifier});
}

void LinuxWorkspace::tell(const ApplicationNotification& notification) {
  const std::map<ObserverToken, Observer> observers = observers_;  // one may add or remove others
  for (const auto& [token, observer] : observers) observer(notification);
}

Workspace::ObserverToken LinuxWorkspace::addDidTerminateApplicationObserver(Observer observer) {
  observers_.emplace(++lastToken_, std::move(observer));
  return lastToken_;
}

bool LinuxWorkspace::isRunning(const std::string& bundleIdentifier) const {
  for (std::size_t index = 0; index < applications_.size(); ++index) {
    if (applications_[index].bundleIdentifier == bundleIdentifier && running_[index]->isRunning()) return true;
  }
  return false;
}

void LinuxWorkspace::removeObserver(ObserverToken token) {
  observers_.erase(token);
}

}  // namespace platform::linux_
