#include "Worker/sandbox/Sandbox.h"

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/CookieScript.h"
#include "Worker/sandbox/Operation.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

Rows execute(const Operation& operation, const std::string& sql) {
  Outcome outcome;
  Rows rows = executeInsideGrant({sql}, operation.fullPath(), outcome);
  operation.tell(outcome);
  return rows;
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
  // An overwritten file is removed even when its new bytes could not be flushed to the disk.
  constexpr auto kUnflushed = platform::UnflushedFile::isRemoved;
  makeTaskQueue()->async([operation, overwrites, later = OutcomeRecorder::Later()] {
    const OutcomeRecorder::Later::Doing doing(later);
    operation->run([&] { operation->tell(removeInsideGrant(operation->fullPath(), overwrites, kUnflushed)); });
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
  makeTaskQueue()->async([operation, sql, later = OutcomeRecorder::Later()] {
    const OutcomeRecorder::Later::Doing doing(later);
    operation->run([&] { execute(*operation, sql); });
  });
}

std::optional<Rows> Sandbox::returnArrayFromSql_onfile(const std::string& sql, const Path& path) {
  if (!path) return std::nullopt;
  const Operation operation(*path);
  return perform<Rows>(operation, {}, [&](const std::string&) { return execute(operation, sql); });
}

void Sandbox::checkForScriptInFolder() {
  const auto folder = Platform::current().fileManager.applicationScriptsDirectory(true);
  if (!folder) return;  // whatever the reason: without the folder there is nothing to check
  const std::string script = platform::appendingPathComponent(folder->path(), kCookieScript);
  const Operation operation(script, folder->path());
  makeTaskQueue()->sync([&] {
    operation.run([&] {
      if (!Platform::current().fileManager.fileExists(operation.fullPath())) installCookieScript();
    });
  });
}

Sandbox::Path Sandbox::checkForUserDirectory(const Path& path) {
  return path ? Path(fullPathOf(*path)) : path;
}

}  // namespace tidewell
