#include "Worker/sandbox/Operation.h"

#include <array>
#include <utility>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/SecureDelete.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr char kTaskQueueLabel[] = "com.emberlinestudio.com.TidewellWorker.task";
constexpr char kDenied[] = "Sandbox has denied access to %@";

}  // namespace

Operation::Operation(const std::string& path, const std::optional<std::string>& grantFolder)
    : fileAccess_(AppSandboxFileAccess::fileAccess()),
      fullPath_(*Sandbox::checkForUserDirectory(path)),
      grantFolder_(grantFolder) {
  fileAccess_->persistPermissionPath(fullPath_);
}

Operation Operation::unrecorded(const std::string& path) {
  Operation operation;
  operation.fileAccess_ = AppSandboxFileAccess::fileAccess();
  operation.fullPath_ = *Sandbox::checkForUserDirectory(path);
  return operation;
}

Operation Operation::onFolder(const std::string& path) {
  Operation operation = unrecorded(path);
  operation.setGrantFolder(operation.fullPath());
  return operation;
}

bool Operation::run(const platform::Task& action) const {
  const std::string folder = grantFolder_.value_or(platform::deletingLastPathComponent(fullPath_));
  if (fileAccess_->accessFilePath_persistPermission_withBlock(folder, true, action)) return true;
  Platform::current().log.log(platform::formatted(kDenied, {fullPath_}));
  return false;
}

std::unique_ptr<platform::DispatchQueue> makeTaskQueue() {
  return Platform::current().dispatch.makeSerialQueue(kTaskQueueLabel);
}

bool overwritesFirst() {
  return Platform::current().userDefaults.suite(kSharedSuite)->boolForKey(kSecureDeleteDataKey);
}

void removeInsideGrant(const std::string& path, bool overwrites, platform::UnflushedFile unflushed) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  if (!overwrites) {
    fileManager.removeItem(path);  // a missing item or any failure is ignored
  } else if (SecureDelete::wipe(path)) {
    fileManager.removeOverwrittenItem(path, unflushed);  // likewise
  }
}

std::mutex& turnOf(const std::string& path) {
  static std::array<std::mutex, 16> turns;
  return turns[std::hash<std::string>()(path) % turns.size()];
}

}  // namespace tidewell
