#include "Platform/Linux/LinuxPlatform.h"

#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "Platform/Linux/bus/BusApplications.h"
#include "Platform/Linux/host/IdleMemory.h"

namespace platform::linux_ {
namespace {

constexpr char kDesktopEntry[] = "com.emberlinestudio.Tidewell";  // whose icon notifications show
constexpr char kTaskFailed[] = "a task could not be completed";
constexpr std::chrono::seconds kStartTime{2};  // after which the start is over

}  // namespace

LinuxPlatform::LinuxPlatform(RunLoop& loop, SessionBus& bus, BundleInfo info,
                             std::vector<WatchedApplication> applications)
    : loop_(loop),
      userDefaults_(SqliteUserDefaults::folderFromEnvironment(), info.identifier, log_),
      fileManager_(scopes_, LinuxFileManager::scriptsFolderFromEnvironment(info.identifier)),
      fileManagerOnOneMount_(scopes_, LinuxFileManager::scriptsFolderFromEnvironment(info.identifier), Mounts::kSame),
      system_(scopes_),
      dispatch_(loop),
      bundle_(info, GettextBundle::sharedFolderOfExecutable()),
      openPanel_(bus, fileManager_, [this](const FileURL& url) { scopes_.openForProcess(url); }),
      notificationCenter_(bus, info.dictionary["CFBundleDisplayName"], kDesktopEntry),
      userScripts_(loop, LinuxFileManager::scriptsFolderFromEnvironment(info.identifier)),
      workspace_(loop, std::move(applications)),
      announcedQuits_(bus, [this](const ApplicationNotification& quit) { workspace_.announce(quit); }),
      cells_(LinuxCells::programOfExecutable(), log_),
      confinement_({SqliteUserDefaults::folderFromEnvironment()}),
      platform_{bundle_, dispatch_,   fileManager_,  fileManagerOnOneMount_, log_,         openPanel_,
                scopes_, system_,     userDefaults_, notificationCenter_,    userScripts_, workspace_,
                cells_,  confinement_} {
  ::mallopt(M_ARENA_MAX, 2);  // threads come and go: arenas of their own would only keep memory
  // Leaves the folder that the process was started in, so that it is not kept in use. A failure does no harm.
  if (::chdir("/") != 0) errno = 0;
  dispatch_.threadPool().setIdleHandler(releaseIdleMemory);
  const auto logFailure = [this] { log_.log(kTaskFailed); };
  dispatch_.threadPool().setFailureHandler(logFailure);
  loop_.setFailureHandler(logFailure);
  workspace_.setOpener([&bus](const std::string& identifier, const std::string& item, const std::string& token) {
    openApplication(bus, identifier, item, token);
  });
  Platform::install(&platform_);
}

LinuxPlatform::~LinuxPlatform() {
  Platform::install(nullptr);
  loop_.setFailureHandler(nullptr);
}

void LinuxPlatform::startWorkspace(std::function<bool(const WatchedApplication&)> isWanted,
                                   const std::string& settingsDomain) {
  LinuxWorkspace::Options options;
  options.isWanted = std::move(isWanted);
  options.wantedFile = userDefaults_.fileOfDomain(settingsDomain)->path();
  workspace_.start(std::move(options));
  loop_.after(kStartTime, releaseIdleMemory);
}

bool LinuxPlatform::finish() {
  if (!dispatch_.threadPool().shutDown()) return false;
  loop_.discardTasks();
  return true;
}

}  // namespace platform::linux_
