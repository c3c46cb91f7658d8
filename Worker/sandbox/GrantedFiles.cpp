#include "Worker/sandbox/GrantedFiles.h"

#include <algorithm>
#include <iterator>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/AppSandboxFileAccessPersist.h"
#include "Worker/sandbox/Operation.h"
#include "Worker/sandbox/SecureDelete.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr std::uint64_t kLargestRead = 512U << 20;  // bytes
constexpr unsigned kOwnerOnly = 0600;

std::optional<std::string> bytesInsideGrant(const std::string& path) {
  const auto file = Platform::current().fileManager.readableFile(path);
  if (!file || (*file)->size() > kLargestRead) return std::nullopt;
  auto bytes = (*file)->read(0, static_cast<std::size_t>((*file)->size()));
  return bytes ? std::optional(std::move(*bytes)) : std::nullopt;
}

template <typename T>
std::optional<T> attributeOf(const std::string& path, const char* key) {
  const auto attributes = Platform::current().fileManager.attributesOfItem(path);
  if (!attributes) return std::nullopt;
  const auto found = attributes->find(key);
  const T* value = found != attributes->end() ? found->second.template as<T>() : nullptr;
  return value != nullptr ? std::optional(*value) : std::nullopt;
}

bool isFileOfType(const std::string& path, const char* type) {
  return attributeOf<std::string>(path, platform::kFileType) == type;
}

/// Removes a single item. With overwriting, it never overwrites a link's target, and leaves a folder that is not empty.
void removeItemInsideGrant(const std::string& path, bool overwrites) {
  if (overwrites && isFileOfType(path, platform::kFileTypeDirectory)) {
    const auto rest = Platform::current().fileManager.contentsOfDirectory(path);
    if (!rest || !rest->empty()) return;
  }
  removeInsideGrant(path, overwrites && isFileOfType(path, platform::kFileTypeRegular), platform::UnflushedFile::stays);
}

/// The new contents are completely on the disk before they replace the old ones.
void replaceInsideGrant(const std::string& path, const std::string& contents, bool overwrites) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  const std::string other = path + kAsideSuffix;
  const auto permissions = attributeOf<std::int64_t>(path, platform::kFilePosixPermissions);
  if (fileManager.createFile(other, contents, static_cast<unsigned>(permissions.value_or(kOwnerOnly)) & 0777U)) return;
  const std::error_code error = fileManager.exchangeItems(path, other);
  if (!error) return removeItemInsideGrant(other, overwrites);  // the old contents
  // Replacing drops the old contents without overwriting them: when the person wants overwriting, the file stays.
  if (error == std::errc::not_supported && !overwrites && !fileManager.replaceItem(path, other)) return;
  fileManager.removeItem(other);
}

/// Performs an action under the grant of a folder. Returns its outcome, or `empty` when there is no grant.
template <typename T>
T underGrantOf(const std::string& folder, const Operation& operation, T empty,
               const std::function<T(const std::string& fullPath)>& action) {
  if (!GrantedFiles::isGranted(folder)) return empty;
  return perform<T>(operation, std::move(empty), action);
}

/// The same for an item, under the grant of its parent folder.
template <typename T>
T underGrant(const std::string& path, T empty, const std::function<T(const std::string& fullPath)>& action) {
  const Operation operation = Operation::unrecorded(path);
  const std::string folder = platform::deletingLastPathComponent(operation.fullPath());
  return underGrantOf<T>(folder, operation, std::move(empty), action);
}

/// Overwrites and removes all files in a folder. True when none is left.
bool emptyInsideGrant(const std::string& folder) {
  platform::FileManager& fileManager = Platform::current().fileManager;
  bool isEmpty = true;
  const auto walk = fileManager.enumeratorAtURL(platform::FileURL(folder, true), nullptr);
  std::vector<std::string> files;
  while (const auto item = walk->nextObject()) {
    if (isFileOfType(item->path(), platform::kFileTypeRegular)) files.push_back(item->path());
  }
  for (const std::string& file : files) {
    isEmpty &= SecureDelete::wipe(file) && !fileManager.removeOverwrittenItem(file, platform::UnflushedFile::stays);
  }
  return isEmpty;
}

void removeTreeInsideGrant(const std::string& path, bool overwrites) {
  if (!overwrites || !isFileOfType(path, platform::kFileTypeDirectory)) {
    removeItemInsideGrant(path, overwrites);
  } else if (emptyInsideGrant(path)) {
    Platform::current().fileManager.removeItem(path);
  }
}

}  // namespace

bool GrantedFiles::obtain(const std::string& folder) {
  return Operation::onFolder(folder).run([] {});
}

bool GrantedFiles::isGranted(const std::string& path) {
  const platform::FileManager& fileManager = Platform::current().fileManager;
  const platform::FileURL url = fileManager.fileURLWithPath(fullPathOf(path));
  const auto stored = AppSandboxFileAccessPersist::bookmarkDataForURL(
      fileManager.urlByResolvingSymlinks(fileManager.standardizedURL(url)));
  if (!stored) return false;
  const auto granted = Platform::current().securityScopedResources.resolveBookmarkData(*stored).url;
  return granted && !isTooWide(*granted);
}

bool GrantedFiles::isDirectory(const std::string& path) {
  return underGrant<bool>(
      path, false, [](const std::string& fullPath) { return isFileOfType(fullPath, platform::kFileTypeDirectory); });
}

std::vector<std::string> GrantedFiles::entriesOf(const std::string& folder) {
  using Names = std::vector<std::string>;
  return underGrantOf<Names>(folder, Operation::onFolder(folder), {}, [](const std::string& fullPath) {
    return Platform::current().fileManager.contentsOfDirectory(fullPath).value().value_or(Names());
  });
}

std::optional<std::string> GrantedFiles::bytesOf(const std::string& path) {
  return underGrant<std::optional<std::string>>(path, std::nullopt, bytesInsideGrant);
}

void GrantedFiles::remove(const std::string& path) {
  const bool overwrites = overwritesFirst();
  underGrant<bool>(path, false, [overwrites](const std::string& fullPath) {
    removeTreeInsideGrant(fullPath, overwrites);
    return true;
  });
}

void GrantedFiles::removeContentsOf(const std::string& folder) {
  for (const std::string& name : entriesOf(folder)) remove(platform::appendingPathComponent(folder, name));
}

void GrantedFiles::rewrite(const std::string& path, const Rewriter& rewriter) {
  const bool overwrites = overwritesFirst();
  underGrant<bool>(path, false, [&](const std::string& fullPath) {
    const std::lock_guard turn(turnOf(fullPath));
    removeItemInsideGrant(fullPath + kAsideSuffix, overwrites);  // left by a worker that was killed
    const auto bytes = bytesInsideGrant(fullPath);
    if (!bytes) return false;
    const Rewriting rewriting = rewriter(*bytes);
    if (rewriting.action == Rewriting::Action::kReplace) replaceInsideGrant(fullPath, rewriting.contents, overwrites);
    if (rewriting.action == Rewriting::Action::kRemove) removeItemInsideGrant(fullPath, overwrites);
    return true;
  });
}

Rows GrantedFiles::runStatements(const std::vector<std::string>& statements, const std::string& path) {
  return underGrant<Rows>(path, {}, [&](const std::string& fullPath) {
    return executeInsideGrant(statements, fullPath, Schema::kMayBeHostile);
  });
}

LevelDatabase::Outcome GrantedFiles::keepInLevelDatabase(
    const std::string& folder, const LevelDatabase::Selection& isKept,
    const std::function<bool(std::string_view bytes)>& isPrecious) {
  const bool overwrites = overwritesFirst();
  return underGrant<LevelDatabase::Outcome>(folder, LevelDatabase::Outcome::kLeft, [&](const std::string& fullPath) {
    const std::lock_guard turn(turnOf(fullPath));
    return LevelDatabase::keepOnly(fullPath, isKept, isPrecious,
                                   [overwrites](const std::string& item) { removeItemInsideGrant(item, overwrites); });
  });
}

}  // namespace tidewell
