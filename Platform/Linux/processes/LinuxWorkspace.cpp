#include "Platform/Linux/processes/LinuxWorkspace.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

using std::chrono::milliseconds;

// A look takes about a millisecond, and who cleans asks a hundred times in a row.
constexpr milliseconds kLookStaysTrue{20};

// Each look at the places of programs that finds something new is followed by another. Who changes them faster than we
// look is told of by the watches that are set already.
constexpr int kMostLooks = 8;

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
    : loop_(loop),
      applications_(expandingHomes(std::move(applications))),
      processes_(std::make_shared<ApplicationProcesses>(applications_)) {
  for (std::size_t index = 0; index < applications_.size(); ++index) {
    running_.push_back(std::make_unique<RunningApplication>(
        loop_,
        RunningApplication::Callbacks{
            [this, index] { return processes_->look()[index]; },
            [this, index](pid_t pid) -> std::optional<RunningApplication::Identity> {
              auto process = processInfo(pid);
              if (!process) return std::nullopt;
              const bool isApplication = processes_->applicationRunning(process->executable) == index;
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

// Looking.

void LinuxWorkspace::scan() {
  const ApplicationProcesses::Found found = processes_->look();
  for (std::size_t index = 0; index < running_.size(); ++index) {
    const bool wasRunning = running_[index]->isRunning();
    running_[index]->update(found[index]);
    if (wasRunning || !running_[index]->isRunning()) continue;
    looks_.found();
    tellThatItRuns(index, true);
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
  const auto index = executable ? processes_->applicationRunning(*executable) : std::nullopt;
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
  auto processes = std::make_shared<ApplicationProcesses>(applications_, executables_);
  {
    const std::lock_guard lock(mutex_);
    processes_ = std::move(processes);
  }
  updateConnector();
}

void LinuxWorkspace::happened(const PathWatch::Events& events) {
  if (events.appeared) {
    watch();
  } else if (events.modified) {
    updateConnector();
  }
  if (events.modified) tellWhatRuns();
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
  {
    const std::lock_guard lock(mutex_);
    lookedAt_ = {};  // whoever is told must not be answered that it still runs
  }
  announce({applications_[index].applicationName, applications_[index].bundleIdentifier, std::move(processes)});
}

void LinuxWorkspace::announce(const ApplicationNotification& notification) {
  const std::map<ObserverToken, Observer> observers = observers_;  // one may add or remove others
  for (const auto& [token, observer] : observers) observer(notification);
}

void LinuxWorkspace::tellThatItRuns(std::size_t index, bool isNews) {
  const std::map<ObserverToken, RunsObserver> observers = runsObservers_;
  for (const auto& [token, observer] : observers) observer(applications_[index].bundleIdentifier, isNews);
}

void LinuxWorkspace::tellWhatRuns() {
  for (std::size_t index = 0; index < running_.size(); ++index) {
    if (running_[index]->isRunning()) tellThatItRuns(index, false);
  }
}

Workspace::ObserverToken LinuxWorkspace::addDidTerminateApplicationObserver(Observer observer) {
  observers_.emplace(++lastToken_, std::move(observer));
  return lastToken_;
}

Workspace::ObserverToken LinuxWorkspace::addApplicationRunsObserver(RunsObserver observer) {
  runsObservers_.emplace(++lastToken_, std::move(observer));
  return lastToken_;
}

bool LinuxWorkspace::isRunning(const std::string& bundleIdentifier) const {
  const std::lock_guard lock(mutex_);
  const auto now = std::chrono::steady_clock::now();
  if (now - lookedAt_ >= kLookStaysTrue) {
    seen_ = processes_->look();
    lookedAt_ = now;
  }
  for (std::size_t index = 0; index < applications_.size(); ++index) {
    if (applications_[index].bundleIdentifier == bundleIdentifier && !seen_[index].mains.empty()) return true;
  }
  return false;
}

void LinuxWorkspace::removeObserver(ObserverToken token) {
  observers_.erase(token);
  runsObservers_.erase(token);
}

std::unique_ptr<ProcessWatch> LinuxWorkspace::watchProcess(int process, Task ended) {
  return HeldProcess::watch(loop_, process, std::move(ended));
}

}  // namespace platform::linux_
