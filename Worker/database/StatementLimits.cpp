#include "Worker/database/StatementLimits.h"

#include <sqlite3.h>

namespace tidewell {
namespace {

constexpr int kLongestValue = 64 << 20;     // bytes
constexpr int kStepsBetweenLooks = 10'000;  // of SQLite's virtual machine; some hundred microseconds

int isOver(void* deadline) {
  return std::chrono::steady_clock::now() > *static_cast<const std::chrono::steady_clock::time_point*>(deadline) ? 1
                                                                                                                 : 0;
}

}  // namespace

StatementLimits::StatementLimits(Sqlite& database, std::chrono::steady_clock::duration time)
    : database_(database), deadline_(std::chrono::steady_clock::now() + time) {
  sqlite3* db = database_._db();
  sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  sqlite3_limit(db, SQLITE_LIMIT_LENGTH, kLongestValue);
  sqlite3_progress_handler(db, kStepsBetweenLooks, isOver,
                           const_cast<std::chrono::steady_clock::time_point*>(&deadline_));
}

StatementLimits::~StatementLimits() {
  sqlite3_progress_handler(database_._db(), 0, nullptr, nullptr);
}

}  // namespace tidewell
