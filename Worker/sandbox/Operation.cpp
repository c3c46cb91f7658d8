#include "Worker/sandbox/Operation.h"

#include <array>
#include <utility>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/database/DatabaseImage.h"
#include "Worker/database/OpenedFile.h"
#include "Worker/database/Sqlite.h"
#include "Worker/sandbox/SecureDelete.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr char kTaskQueueLabel[] = "com.emberlinestudio.com.TidewellWorker.task";
constexpr char kDenied[] = "Sandbox has denied access to %@";

}  // namespace

std::string fullPathOf(const std::string& path) {
  if (!path.starts_with('~')) return path;
  const std::string userFolder =
      platform::descriptionOf(Platform::current().userDefaults.suite(kSharedSuite)->objectForKey(kUserFolderKey));
  return platform::formatted("%@%@", {userFolder, std::string_view(path).substr(1)});
}

bool isTooWide(const platform::FileURL& folder) {
  return isTooWideFor(fullPathOf("~"), folder.path(), [](const std::string& path) {
    const platform::FileManager& fileManager = Platform::current().fileManager;
    return fileManager.urlByResolvingSymlinks(fileManager.standardizedURL(platform::FileURL(path, true))).path();
  });
}

bool isTooWideFor(const std::string& home, const std::string& folder,
                  const std::function<std::string(const std::string& path)>& withoutLinks) {
  const std::string granted = withoutLinks(folder);
  if (granted == "/") return true;
  if (platform::isPathInside(granted, home)) return false;  // nearly all of them
  const std::string realHome = withoutLinks(home);
  if (granted != realHome && platform::isPathInside(realHome, granted)) return true;
  for (std::string above = home; above.size() > 1;) {
    above = platform::deletingLastPathComponent(above);
    if (withoutLinks(above) == granted) return true;
  }
  return false;
}

Operation::Operation(const std::string& path, const std::optional<std::string>& grantFolder)
    : fileAccess_(AppSandboxFileAccess::fileAccess()),
      fullPath_(fullPathOf(path)),
      grantFolder_(grantFolder),
      recorder_(OutcomeRecorder::current()) {
  fileAccess_->persistPermissionPath(fullPath_);
}

Operation Operation::unrecorded(const std::string& path) {
  Operation operation;
  operation.fileAccess_ = AppSandboxFileAccess::fileAccess();
  operation.fileAccess_->setIsTooWide(isTooWide);
  operation.fullPath_ = fullPathOf(path);
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
  if (recorder_) recorder_->noteNotAllowed(folder);
  return false;
}

std::unique_ptr<platform::DispatchQueue> makeTaskQueue() {
  return Platform::current().dispatch.makeSerialQueue(kTaskQueueLabel);
}

bool overwritesFirst() {
  return Platform::current().userDefaults.suite(kSharedSuite)->boolForKey(kSecureDeleteDataKey);
}

Outcome removeInsideGrant(const std::string& path, bool overwrites, platform::UnflushedFile unflushed) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  if (!overwrites) return outcomeOf(fileManager.removeItem(path));
  if (!SecureDelete::wipe(path)) return {Left::kNotOverwritten};
  return outcomeOf(fileManager.removeOverwrittenItem(path, unflushed));
}

Rows executeInsideGrant(const std::vector<std::string>& statements, const std::string& path, Outcome& outcome) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  if (!fileManager.fileExists(path)) return {};  // opening it would make one
  const auto file = fileManager.pinnedFile(path);
  if (!file) {
    outcome += outcomeOf(file.error());
    return {};
  }
  const std::lock_guard turn(turnOf((*file)->path()));  // a busy database is not retried
  Sqlite database;
  // Checked again with the database open: the opened file must be the one that was pinned.
  if (!database.open((*file)->path()) || !(*file)->isInPlace() || hasMoved(database) || !(*file)->isInPlace()) {
    outcome += Outcome{isInUse(database) ? Left::kInUse : Left::kFailed};
    return {};
  }
  std::optional<Rows> rows = Rows();
  for (const std::string& sql : statements) {
    if (rows) rows = database.executeQuery(sql);
  }
  if (hasFailed(database)) outcome += Outcome{isInUse(database) ? Left::kInUse : Left::kNotReadable};
  if (hasChangedRows(database)) ++outcome.removed;
  return std::move(rows).value_or(Rows());
}

std::mutex& turnOf(const std::string& path) {
  static std::array<std::mutex, 16> turns;
  return turns[std::hash<std::string>()(path) % turns.size()];
}

}  // namespace tidewell
