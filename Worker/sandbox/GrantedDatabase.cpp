#include "Worker/sandbox/GrantedDatabase.h"

#include <algorithm>

#include "Worker/Identity.h"
#include "Worker/database/DatabaseImage.h"
#include "Worker/database/OpenedFile.h"
#include "Worker/database/Sqlite.h"
#include "Worker/database/StatementLimits.h"
#include "Worker/sandbox/GrantedItems.h"
#include "Worker/sandbox/Operation.h"

namespace tidewell {
namespace {

using platform::Overwriting;

constexpr const char* kOpenedWithIt[] = {"", "-journal", "-wal"};
constexpr const char* kCompanions[] = {"-journal", "-wal", "-shm"};

/// Passes a connection to the database, and its file, to `use`. Returns why there is none; kNothing also when it is
/// missing.
template <typename Use>
Outcome withDatabase(const std::string& path, const Use& use) {
  const auto attributes = grantedItems().attributesOfItem(path);
  if (!attributes) return outcomeOf(attributes.error());  // opening it would make one
  const std::lock_guard turn(turnOf(path));
  for (const char* suffix : kOpenedWithIt) {
    if (const Outcome own = makeOwnInsideGrant(path + suffix); own.left != Left::kNothing) return own;
  }
  const auto file = grantedItems().pinnedFile(path);
  if (!file) return outcomeOf(file.error());
  // Opened before the database, and closed after it: closing any descriptor of a file ends this process's locks on it.
  const auto opened = grantedItems().readableFile(path);
  if (!opened) return outcomeOf(opened.error());
  Sqlite database;
  // Checked again with the database open: the opened file must be the one that was pinned.
  if (!database.open((*file)->path()) || !(*file)->isInPlace() || hasMoved(database) || !(*file)->isInPlace()) {
    return {isInUse(database) ? Left::kInUse : Left::kFailed};  // opening it has read it
  }
  use(database, **opened);
  return {};
}

/// For a database that is too large to be held in memory. What goes is overwritten with zeros once.
Outcome changeInPlace(Sqlite& database, const std::vector<std::string>& statements, const SqlPredicates& predicates,
                      Overwriting overwriting) {
  const StatementLimits limits(database);
  bool isFine = define(database, predicates) && database.executeQuery("PRAGMA secure_delete = ON;").has_value();
  for (const std::string& sql : statements) isFine = isFine && database.executeNonQuery(sql);
  isFine = isFine && database.executeQuery("PRAGMA wal_checkpoint(TRUNCATE);");
  if (!isFine) return {Left::kNotReadable};
  return {overwriting == Overwriting::kNone ? Left::kNothing : Left::kNotOverwritten, 1};
}

Outcome removeCompanions(const std::string& path, Overwriting overwriting) {
  Outcome outcome;
  for (const char* companion : kCompanions) outcome += eraseInsideGrant(path + companion, overwriting);
  outcome.removed = 0;  // they are parts of the database, and some were made by opening it
  return outcome;
}

Outcome change(Sqlite& database, const std::string& path, const platform::ReadableFile& file,
               const std::vector<std::string>& statements, const SqlPredicates& predicates, Overwriting overwriting) {
  const DatabaseImage image = DatabaseImage::after(database, statements, predicates);
  Outcome outcome;
  switch (image.condition) {
    case DatabaseImage::Condition::kInUse:
      return {Left::kInUse};
    case DatabaseImage::Condition::kUnreadable:
      return {Left::kNotReadable};
    case DatabaseImage::Condition::kTooLarge:
      outcome = changeInPlace(database, statements, predicates, overwriting);
      return outcome += removeCompanions(path, overwriting);
    case DatabaseImage::Condition::kSound:
      break;
  }
  // All is in the database itself now, and a journal beside the new one would change it.
  outcome = removeCompanions(path, overwriting);
  const auto version = file.version();
  if (!version || !image.bytes || outcome.left != Left::kNothing) return outcome;
  Outcome replaced = replaceInsideGrant(path, *version, *image.bytes, overwriting);
  if (!image.hasOtherRows) replaced.removed = 0;
  return outcome += replaced;
}

}  // namespace

std::optional<Rows> rowsInsideGrant(const std::string& query, const std::string& path, Left& left) {
  std::optional<Rows> rows = Rows();
  left = Left::kNothing;
  const Outcome outcome = withDatabase(path, [&](Sqlite& database, const platform::ReadableFile&) {
    holdAlone(database);
    const StatementLimits limits(database);
    rows = database.executeQuery(query);
    if (!hasFailed(database)) return;
    left = isInUse(database) ? Left::kInUse : Left::kNotReadable;
    rows.reset();  // an error after some rows only ends them
  });
  if (outcome.left != Left::kNothing) left = outcome.left;
  return left == Left::kNothing ? std::move(rows) : std::nullopt;
}

Outcome changeInsideGrant(const std::vector<std::string>& statements, const std::string& path, Overwriting overwriting,
                          const SqlPredicates& predicates) {
  Outcome outcome = eraseInsideGrant(path + kAsideSuffix, overwriting);  // left by a worker that was killed
  outcome.removed = outcome.bytes = 0;                                   // nothing of the browser's
  Outcome changed;
  const Outcome opened = withDatabase(path, [&](Sqlite& database, const platform::ReadableFile& file) {
    changed = change(database, path, file, statements, predicates, overwriting);
  });
  outcome += changed;
  return outcome += opened;
}

}  // namespace tidewell
