#include "Worker/sandbox/Sandbox.h"

#include <array>
#include <functional>
#include <memory>
#include <mutex>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/database/OpenedFile.h"
#include "Worker/database/Sqlite.h"
#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "Worker/sandbox/SecureDelete.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Task;
using platform::Value;

constexpr char kTaskQueueLabel[] = "com.emberlinestudio.com.TidewellWorker.task";
constexpr char kDenied[] = "Sandbox has denied access to %@";
constexpr char kScriptName[] = "clearCookies.sh";

std::unique_ptr<platform::UserDefaults> sharedSuite() {
  return Platform::current().userDefaults.suite(kSharedSuite);
}

std::unique_ptr<platform::DispatchQueue> makeTaskQueue() {
  return Platform::current().dispatch.makeSerialQueue(kTaskQueueLabel);
}

/// One operation on one path: what every operation does before and around its action.
class Operation {
 public:
  /// Resolves the path and records a bookmark for it, which happens on every call and before any access is asked for.
  explicit Operation(const std::string& path) : Operation(path, std::nullopt) {}

  /// For an operation whose grant is not that of the parent folder.
  Operation(const std::string& path, const std::optional<std::string>& grantFolder)
      : fileAccess_(AppSandboxFileAccess::fileAccess()),
        fullPath_(*Sandbox::checkForUserDirectory(path)),
        grantFolder_(grantFolder) {
    fileAccess_->persistPermissionPath(fullPath_);
  }

  const std::string& fullPath() const { return fullPath_; }
  void setGrantFolder(std::string folder) { grantFolder_ = std::move(folder); }

  /// Runs the action under the grant, or logs the one line that says that it was refused.
  void run(const Task& action) const {
    const std::string folder = grantFolder_.value_or(platform::deletingLastPathComponent(fullPath_));
    if (!fileAccess_->accessFilePath_persistPermission_withBlock(folder, true, action)) {
      Platform::current().log.log(platform::formatted(kDenied, {fullPath_}));
    }
  }

 private:
  std::unique_ptr<AppSandboxFileAccess> fileAccess_;
  std::string fullPath_;
  std::optional<std::string> grantFolder_;  // where it is not the parent folder
};

/// Performs a reading operation: the action's outcome, or `empty` when the path is absent or access is refused.
template <typename T>
T read(const Sandbox::Path& path, T empty, const std::function<T(const std::string& fullPath)>& action) {
  if (!path) return empty;
  const Operation operation(*path);
  T result = std::move(empty);
  makeTaskQueue()->sync([&] { operation.run([&] { result = action(operation.fullPath()); }); });
  return result;
}

void removeInsideGrant(const std::string& path, bool overwrites) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  if (!overwrites) {
    fileManager.removeItem(path);  // a missing item or any failure is ignored
  } else if (SecureDelete::wipe(path)) {
    fileManager.removeOverwrittenItem(path);  // likewise
  }
}

/// The rows of a statement on a database that is there, can be opened, and lies where the grant allows.
Rows executeInsideGrant(const std::string& sql, const std::string& path) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  if (!fileManager.fileExists(path)) return {};  // opening it would make one
  const auto file = fileManager.pinnedFile(path);
  if (!file) return {};
  // One statement at a time on one database: a busy database is never waited for, and a deletion that was turned away
  // so would be lost.
  static std::array<std::mutex, 16> turns;
  const std::lock_guard turn(turns[std::hash<std::string>()((*file)->path()) % turns.size()]);
  Sqlite database;
  // Looked at again with the database open: what was opened is what was looked at before.
  if (!database.open((*file)->path()) || !(*file)->isInPlace() || hasMoved(database) || !(*file)->isInPlace())
    return {};
  return database.executeQuery(sql).value_or(Rows());
}

}  // namespace

bool isDirectory(const std::string& path) {
  const Value::Dictionary attributes = Sandbox::fileAttributes(path);
  const auto type = attributes.find(platform::kFileType);
  return type != attributes.end() && type->second == Value(platform::kFileTypeDirectory);
}

void Sandbox::access(const Path& path) {
  if (!path) return;
  Operation operation(*path);
  const std::string parent = platform::deletingLastPathComponent(operation.fullPath());
  const std::size_t count = platform::pathComponents(parent).size();
  operation.setGrantFolder(count == 4 || count == 5 ? operation.fullPath() : parent);
  operation.run([] {});
}

void Sandbox::remove(const Path& path) {
  if (!path) return;
  // Read now: a change of the setting before the task runs makes no difference.
  const bool overwrites = sharedSuite()->boolForKey(kSecureDeleteDataKey);
  const auto operation = std::make_shared<const Operation>(*path);
  makeTaskQueue()->async(
      [operation, overwrites] { operation->run([&] { removeInsideGrant(operation->fullPath(), overwrites); }); });
}

void Sandbox::removeFiles(const std::optional<std::vector<std::string>>& paths) {
  if (!paths) return;
  for (const std::string& path : *paths) remove(path);
}

std::optional<std::string> Sandbox::contentsOf(const Path& path) {
  return read<std::optional<std::string>>(path, "", [](const std::string& fullPath) {
    return Platform::current().fileManager.stringWithContentsOfFile(fullPath).value();
  });
}

std::vector<std::string> Sandbox::folderContentsOf(const Path& path) {
  return read<std::vector<std::string>>(path, {}, [](const std::string& fullPath) {
    return Platform::current().fileManager.contentsOfDirectory(fullPath).value().value_or(std::vector<std::string>());
  });
}

bool Sandbox::fileExists(const Path& path) {
  return read<bool>(path, false,
                    [](const std::string& fullPath) { return Platform::current().fileManager.fileExists(fullPath); });
}

bool Sandbox::fileIsDirectory(const Path& path) {
  return read<bool>(path, false, [](const std::string& fullPath) {
    bool isDirectory = false;
    return Platform::current().fileManager.fileExists(fullPath, isDirectory) && isDirectory;
  });
}

Value::Dictionary Sandbox::fileAttributes(const Path& path) {
  return read<Value::Dictionary>(path, {}, [](const std::string& fullPath) {
    return Platform::current().fileManager.attributesOfItem(fullPath).value().value_or(Value::Dictionary());
  });
}

void Sandbox::runSql_onfile(const std::string& sql, const Path& path) {
  if (!path) return;
  const auto operation = std::make_shared<const Operation>(*path);
  makeTaskQueue()->async([operation, sql] { operation->run([&] { executeInsideGrant(sql, operation->fullPath()); }); });
}

std::optional<Rows> Sandbox::returnArrayFromSql_onfile(const std::string& sql, const Path& path) {
  if (!path) return std::nullopt;
  return read<Rows>(path, {}, [&sql](const std::string& fullPath) { return executeInsideGrant(sql, fullPath); });
}

void Sandbox::checkForScriptInFolder() {
  const auto folder = Platform::current().fileManager.applicationScriptsDirectory(true);
  if (!folder) return;  // the reason is of no interest: without the folder there is nothing to check
  const std::string script = platform::appendingPathComponent(folder->path(), kScriptName);
  const Operation operation(script, folder->path());
  makeTaskQueue()->sync([&] {
    operation.run([&] {
      if (!Platform::current().fileManager.fileExists(operation.fullPath())) WorkerAppDelegate::checkCookieScript();
    });
  });
}

Sandbox::Path Sandbox::checkForUserDirectory(const Path& path) {
  if (!path || !path->starts_with('~')) return path;
  const std::string userFolder = platform::descriptionOf(sharedSuite()->objectForKey(kUserFolderKey));
  return platform::formatted("%@%@", {userFolder, std::string_view(*path).substr(1)});
}

}  // namespace tidewell
