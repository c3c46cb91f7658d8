#include "Worker/database/DatabaseImage.h"

#include <sqlite3.h>

#include <memory>

#include "Worker/database/StatementLimits.h"

namespace tidewell {
namespace {

using Condition = DatabaseImage::Condition;

// Fields of a database file's header, as "Database File Format" in SQLite's documentation has them: where they begin,
// and their lengths in bytes.
struct Field {
  std::size_t begin;
  std::size_t length;
};
constexpr std::size_t kHeaderSize = 100;
constexpr Field kFormatVersions{18, 2};                     // whether it has a write-ahead log
constexpr Field kCounters[] = {{24, 4}, {40, 4}, {92, 8}};  // of changes; they differ without a difference in contents

bool run(Sqlite& database, const std::string& sql) {
  return database.executeNonQuery(sql);
}

/// The only value of a statement's only row.
std::optional<std::int64_t> numberFrom(Sqlite& database, const std::string& sql) {
  const std::optional<Rows> rows = database.executeQuery(sql);
  if (!rows || rows->empty()) return std::nullopt;
  const auto text = (*rows)[0].stringForKey(rows->columnNames().front());
  return text ? std::optional(std::stoll(std::string(*text))) : std::nullopt;
}

Condition conditionAfterFailure(const Sqlite& database) {
  return isInUse(database) ? Condition::kInUse : Condition::kUnreadable;
}

Condition lock(Sqlite& database) {
  const bool isLocked = run(database, "BEGIN EXCLUSIVE;") && run(database, "COMMIT;");
  return isLocked ? Condition::kSound : conditionAfterFailure(database);
}

Condition writeLogBack(Sqlite& database) {
  const std::optional<std::int64_t> busy = numberFrom(database, "PRAGMA wal_checkpoint(FULL);");
  if (!busy) return Condition::kUnreadable;
  return *busy == 0 ? Condition::kSound : Condition::kInUse;
}

bool copyInto(Sqlite& memory, Sqlite& source) {
  sqlite3_backup* backup = sqlite3_backup_init(memory._db(), "main", source._db(), "main");
  if (backup == nullptr) return false;
  const int result = sqlite3_backup_step(backup, -1);
  return sqlite3_backup_finish(backup) == SQLITE_OK && result == SQLITE_DONE;
}

/// The bytes that a file of the database would have; "" after a failure.
std::string serialized(Sqlite& database) {
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> bytes(sqlite3_serialize(database._db(), "main", &size, 0),
                                                              sqlite3_free);
  if (!bytes || size < static_cast<sqlite3_int64>(kHeaderSize)) return "";
  return {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
}

/// The beginning of a database's file; "" after a failure.
std::string headerOf(Sqlite& database) {
  sqlite3_file* file = nullptr;
  std::string header(kHeaderSize, '\0');
  const bool isOpen = sqlite3_file_control(database._db(), "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
                      file != nullptr && file->pMethods != nullptr;
  const bool isRead = isOpen && file->pMethods->xRead(file, header.data(), kHeaderSize, 0) == SQLITE_OK;
  return isRead ? header : "";
}

void copyField(const Field& field, const std::string& from, std::string& to) {
  to.replace(field.begin, field.length, from, field.begin, field.length);
}

bool isSameBeyondCounters(const std::string& image, std::string before) {
  if (image.size() != before.size()) return false;
  for (const Field& counter : kCounters) copyField(counter, image, before);
  return image == before;
}

/// Runs the statements up to the first that fails. A statement for a table that the database does not have is no
/// failure of the database.
bool runAll(Sqlite& database, const std::vector<std::string>& statements) {
  for (const std::string& sql : statements) {
    if (!run(database, sql)) return database.errorCode() == SQLITE_ERROR;
  }
  return true;
}

DatabaseImage changed(Sqlite& source, const std::vector<std::string>& statements, const SqlPredicates& predicates) {
  Sqlite memory(":memory:");
  const StatementLimits limits(memory);
  bool isChanged = run(memory, "PRAGMA temp_store = MEMORY;") && define(memory, predicates) &&
                   copyInto(memory, source) && runAll(memory, statements);
  const bool hasOtherRows = sqlite3_total_changes(memory._db()) > 0;
  isChanged = isChanged && run(memory, "VACUUM;");
  // Damaged rows can show only when others beside them are gone: who reads the image must be able to do it all again.
  const int changes = sqlite3_total_changes(memory._db());
  isChanged = isChanged && runAll(memory, statements) && sqlite3_total_changes(memory._db()) == changes;
  const std::string header = headerOf(source);
  std::string image = serialized(memory);
  if (!isChanged || header.empty() || image.empty()) return {};
  copyField(kFormatVersions, header, image);
  if (!hasOtherRows) {
    const std::string before = serialized(source);
    if (before.empty()) return {};
    if (isSameBeyondCounters(image, before)) return {.condition = Condition::kSound};
  }
  return {Condition::kSound, std::move(image), hasOtherRows};
}

}  // namespace

bool hasFailed(const Sqlite& connection) {
  const std::int32_t code = connection.errorCode();
  return code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE;
}

bool isInUse(const Sqlite& connection) {
  const std::int32_t code = connection.errorCode() & 0xFF;
  return code == SQLITE_BUSY || code == SQLITE_LOCKED;
}

bool hasChangedRows(const Sqlite& connection) {
  return ::sqlite3_total_changes(connection._db()) > 0;
}

void holdAlone(Sqlite& connection) {
  int isOn = 1;
  sqlite3_db_config(connection._db(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  sqlite3_file_control(connection._db(), "main", SQLITE_FCNTL_PERSIST_WAL, &isOn);
  connection.executeQuery("PRAGMA locking_mode = EXCLUSIVE;");
}

DatabaseImage DatabaseImage::after(Sqlite& source, const std::vector<std::string>& statements,
                                   const SqlPredicates& predicates) {
  const StatementLimits limits(source);
  holdAlone(source);
  const auto pages = numberFrom(source, "PRAGMA page_count;");  // rolls back what a crash has left half done
  if (!pages) return {.condition = conditionAfterFailure(source)};
  const auto pageSize = numberFrom(source, "PRAGMA page_size;");
  if (!pageSize) return {};
  if (*pages == 0) return {.condition = Condition::kSound};  // locking it would write a page
  Condition condition = lock(source);
  if (condition != Condition::kSound) return {.condition = condition};
  if (*pages > static_cast<std::int64_t>(kLargest) / *pageSize) return {.condition = Condition::kTooLarge};
  condition = writeLogBack(source);
  return condition == Condition::kSound ? changed(source, statements, predicates)
                                        : DatabaseImage{.condition = condition};
}

}  // namespace tidewell
