#include "Worker/sandbox/Sandbox.h"

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/database/OpenedFile.h"
#include "Worker/database/Sqlite.h"
#include "Worker/sandbox/Operation.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr char kScriptName[] = "clearCookies.sh";

/// The rows of the last of the statements, run one after the other up to one that can't be, on a database that is
/// there, can be opened, and lies where the grant allows.
Rows executeInsideGrant(const std::vector<std::string>& statements, const std::string& path) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  if (!fileManager.fileExists(path)) return {};  // opening it would make one
  const auto file = fileManager.pinnedFile(path);
  if (!file) return {};
  const std::lock_guard turn(turnOf((*file)->path()));  // a busy database is never waited for
  Sqlite database;
  // Looked at again with the database open: what was opened is what was looked at before.
  if (!database.open((*file)->path()) || !(*file)->isInPlace() || hasMoved(database) || !(*file)->isInPlace())
    return {};
  std::optional<Rows> rows = Rows();
  for (const std::string& sql : statements) {
    if (rows) rows = database.executeQuery(sql);
  }
  return std::move(rows).value_or(Rows());
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
  const bool overwrites = overwritesFirst();
  const auto operation = std::make_shared<const Operation>(*path);
  // What was overwritten goes, whether or not the disk took the new bytes.
  constexpr auto kUnflushed = platform::UnflushedFile::isRemoved;
  makeTaskQueue()->async([operation, overwrites] {
    operation->run([&] { removeInsideGrant(operation->fullPath(), overwrites, kUnflushed); });
  });
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
  makeTaskQueue()->async(
      [operation, sql] { operation->run([&] { executeInsideGrant({sql}, operation->fullPath()); }); });
}

void Sandbox::runStatements_onfile(const std::vector<std::string>& statements, const Path& path) {
  read<Rows>(path, {}, [&](const std::string& fullPath) { return executeInsideGrant(statements, fullPath); });
}

std::optional<Rows> Sandbox::returnArrayFromSql_onfile(const std::string& sql, const Path& path) {
  if (!path) return std::nullopt;
  return read<Rows>(path, {}, [&sql](const std::string& fullPath) { return executeInsideGrant({sql}, fullPath); });
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
  const std::string userFolder =
      platform::descriptionOf(Platform::current().userDefaults.suite(kSharedSuite)->objectForKey(kUserFolderKey));
  return platform::formatted("%@%@", {userFolder, std::string_view(*path).substr(1)});
}

}  // namespace tidewell
