#include "Worker/sandbox/GrantedFiles.h"

#include <algorithm>
#include <iterator>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/AppSandboxFileAccessPersist.h"
#include "Worker/sandbox/GrantedDatabase.h"
#include "Worker/sandbox/GrantedItems.h"
#include "Worker/sandbox/HeldFiles.h"
#include "Worker/sandbox/Operation.h"

namespace tidewell {
namespace {

using platform::Overwriting;
using platform::Platform;

constexpr Outcome kNotAllowed{Left::kNotAllowed};

/// How files are removed at this moment, as the person wants it.
Overwriting wantedOverwriting() {
  return overwritesFirst() ? Overwriting::kThreePasses : Overwriting::kNone;
}

constexpr char kLockOfLevelDB[] = "LOCK";

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

/// Why a LevelDB database was left: another process holds its lock, its bytes, or anything else.
Left reasonForLeaving(const std::string& folder, const LevelReader& reader) {
  const auto lock = grantedItems().lockFile(platform::appendingPathComponent(folder, kLockOfLevelDB));
  const bool isHeld = !lock && lock.error() == std::errc::resource_unavailable_try_again;
  if (isHeld) return Left::kInUse;
  return reader.isUnreadable() ? Left::kNotReadable : Left::kFailed;
}

}  // namespace

std::string GrantedFiles::wholePath(const std::string& path) {
  return Operation::unrecorded(path).fullPath();
}

Consent GrantedFiles::obtain(const std::string& folder) {
  Consent refusal = Consent::kRefused;
  Operation operation = Operation::onFolder(folder);
  operation.offerNever([&refusal] { refusal = Consent::kNever; });
  return operation.run([] {}) ? Consent::kGiven : refusal;
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

bool GrantedFiles::isThere(const std::string& path) {
  return underGrant<bool>(path, false, [](const std::string& fullPath) {
    const std::error_code error = grantedItems().attributesOfItem(fullPath).error();
    return error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory;
  });
}

std::vector<std::string> GrantedFiles::entriesOf(const std::string& folder) {
  using Names = std::vector<std::string>;
  return underGrantOf<Names>(folder, Operation::onFolder(folder), {}, [](const std::string& fullPath) {
    return grantedItems().contentsOfDirectory(fullPath).value().value_or(Names());
  });
}

std::optional<std::string> GrantedFiles::bytesOf(const std::string& path, std::uint64_t largest) {
  return underGrant<std::optional<std::string>>(
      path, std::nullopt, [largest](const std::string& fullPath) { return ReadInsideGrant(fullPath, largest).bytes; });
}

Outcome GrantedFiles::remove(const std::string& path) {
  const Overwriting overwriting = wantedOverwriting();
  return underGrant<Outcome>(path, kNotAllowed, [overwriting](const std::string& fullPath) {
    return eraseInsideGrant(fullPath, overwriting);
  });
}

Outcome GrantedFiles::remove(const std::string& folder, const std::vector<std::string>& names) {
  if (names.empty()) return {};
  const Overwriting overwriting = wantedOverwriting();
  const Operation operation = Operation::onFolder(folder);
  return underGrantOf<Outcome>(folder, operation, kNotAllowed, [&](const std::string& fullPath) {
    return outcomeOf(grantedItems().eraseItems(fullPath, names, overwriting));
  });
}

Outcome GrantedFiles::removeContentsOf(const std::string& folder) {
  return remove(folder, entriesOf(folder));
}

Outcome GrantedFiles::rewrite(const std::string& path, const Rewriter& rewriter) {
  const Overwriting overwriting = wantedOverwriting();
  return underGrant<Outcome>(path, kNotAllowed, [&](const std::string& fullPath) {
    const std::lock_guard turn(turnOf(fullPath));
    Outcome outcome = eraseInsideGrant(fullPath + kAsideSuffix, overwriting);  // left by a worker that was killed
    outcome.removed = outcome.bytes = 0;                                       // nothing of the browser's
    const ReadInsideGrant read(fullPath, kLargestDocument, "");
    if (!read.bytes) return outcome += read.outcome;
    const Rewriting rewriting = rewriter(*read.bytes);
    if (rewriting.action == Rewriting::Action::kReplace) {
      outcome += replaceInsideGrant(fullPath, read.version, rewriting.contents, overwriting);
    }
    if (rewriting.action == Rewriting::Action::kLeaveUnread) outcome += Outcome{Left::kNotReadable};
    if (rewriting.action == Rewriting::Action::kRemove) {
      outcome += eraseUnchangedInsideGrant(fullPath, read.version, overwriting);
    }
    return outcome;
  });
}

std::optional<bool> GrantedFiles::holds(const std::string& path,
                                        const std::function<bool(std::string_view bytes)>& test,
                                        std::uint64_t largest) {
  return underGrant<std::optional<bool>>(path, std::nullopt, [&](const std::string& fullPath) -> std::optional<bool> {
    const ReadInsideGrant read(fullPath, largest, "");
    if (!read.bytes) return read.outcome.left == Left::kNothing ? std::optional(false) : std::nullopt;
    return test(*read.bytes);
  });
}

std::optional<Rows> GrantedFiles::rowsOf(const std::string& query, const std::string& database, Left& left) {
  left = Left::kNotAllowed;
  auto rows = underGrant<std::optional<Rows>>(
      database, std::nullopt, [&](const std::string& fullPath) { return rowsInsideGrant(query, fullPath, left); });
  if (left == Left::kInUse) HeldFiles::note(database);
  return rows;
}

std::optional<int> GrantedFiles::lockHolder(const std::string& path) {
  return underGrant<std::optional<int>>(path, std::nullopt, [](const std::string& fullPath) {
    const std::lock_guard turn(turnOf(fullPath));
    return grantedItems().lockHolder(fullPath);
  });
}

Outcome GrantedFiles::changeDatabase(const std::vector<std::string>& statements, const std::string& database,
                                     const SqlPredicates& predicates) {
  const Overwriting overwriting = wantedOverwriting();
  const Outcome outcome = underGrant<Outcome>(database, kNotAllowed, [&](const std::string& fullPath) {
    return changeInsideGrant(statements, fullPath, overwriting, predicates);
  });
  if (outcome.left == Left::kInUse) HeldFiles::note(database);
  return outcome;
}

LevelDatabase::Outcome GrantedFiles::keepInLevelDatabase(const std::string& folder, LevelReader& reader,
                                                         Outcome& outcome,
                                                         const std::vector<std::string>& othersFolders) {
  const Overwriting overwriting = wantedOverwriting();
  const auto remove = [&](const std::string& item) { outcome += eraseInsideGrant(item, overwriting); };
  const auto kept = underGrant<std::optional<LevelDatabase::Outcome>>(
      folder, std::nullopt, [&](const std::string& fullPath) -> std::optional<LevelDatabase::Outcome> {
        const std::lock_guard turn(turnOf(fullPath));
        const auto database = LevelDatabase::keepOnly(fullPath, reader, remove, othersFolders);
        if (database == LevelDatabase::Outcome::kLeft) outcome += {reasonForLeaving(fullPath, reader)};
        return database;
      });
  if (!kept) outcome += kNotAllowed;
  if (outcome.left == Left::kInUse) HeldFiles::note(platform::appendingPathComponent(folder, kLockOfLevelDB));
  return kept.value_or(LevelDatabase::Outcome::kLeft);
}

}  // namespace tidewell
