// A connection to one SQLite database.
//
// An object is used by one thread at a time. Nothing is logged, and nothing is thrown but std::out_of_range for too few
// arguments: failures are the answers described below, and what errorCode() and errorMessage() say afterwards. Text of
// statements is UTF-8; so is all that is read, but texts in text columns, error messages and bound strings are
// converted from and to the default C-string encoding.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Worker/database/Rows.h"
#include "Worker/database/SqliteValue.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tidewell {

class Sqlite {
 public:
  using Arguments = std::vector<SqliteValue>;

  /// Not open yet; a busyRetryTimeout of 1.
  Sqlite();
  /// Opens the file; whether that worked shows in filePath(). A busyRetryTimeout of 0, unlike the other's. Meant.
  explicit Sqlite(const std::string& path);
  ~Sqlite();
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  /// Closes what is open, then opens the file, and creates it when it is missing. When it answers false, filePath() is
  /// absent, but _db() may hold a handle that can only tell the error.
  bool open(const std::string& path);
  /// Afterwards nothing is open, even when the database refused to close (a statement is still alive): then the
  /// connection is dropped, and never tried again.
  void close();

  std::int32_t errorCode() const;
  std::string errorMessage() const;

  // Queries: all rows of a statement. Absent when it could not be prepared; an error later on just ends the rows. Only
  // the first statement of a text is ever compiled.

  /// For a statement without parameters: arguments behind the text are not read. Meant.
  template <typename... Unread>
  std::optional<Rows> executeQuery(const std::string& sql, const Unread&... /*unread*/) {
    return executeQuery_arguments(sql, {});
  }
  /// With an argument for each of the statement's parameters, or more.
  std::optional<Rows> executeQuery_arguments(const std::string& sql, const Arguments& arguments);

  // Statements without rows: true when the statement ran to its end. One that yields a row answers false.

  /// Does not read arguments behind the text either.
  template <typename... Unread>
  bool executeNonQuery(const std::string& sql, const Unread&... /*unread*/) {
    return executeNonQuery_arguments(sql, {});
  }
  bool executeNonQuery_arguments(const std::string& sql, const Arguments& arguments);

  bool commit();
  bool rollback();
  bool beginTransaction();  // exclusive
  bool beginDeferredTransaction();

  // Statements, step by step. A caller that prepares one finalises it.

  bool prepareSql_inStatament(const std::string& sql, sqlite3_stmt*& statament);
  bool executeStatament(sqlite3_stmt* statament);
  /// Parameters count from 1. A statement may use what is bound as long as this object lives, and no longer.
  void bindObject_toColumn_inStatament(std::optional<SqliteValue> object, std::int32_t column, sqlite3_stmt* statament);
  /// Steps to the next row. False at the end, and after an error.
  bool hasData(sqlite3_stmt* statament);
  /// Columns count from 0. Whole numbers come as strings, in decimal; real ones as numbers.
  std::optional<SqliteValue> columnData_columnIndex(sqlite3_stmt* statament, std::int32_t columnIndex) const;
  std::string columnName_columnIndex(sqlite3_stmt* statament, std::int32_t columnIndex) const;

  /// When the database is busy: nothing is tried again with 0 or more, and with less than 0 everything is, without end.
  std::int64_t busyRetryTimeout() const { return busyRetryTimeout_; }
  void setBusyRetryTimeout(std::int64_t busyRetryTimeout) { busyRetryTimeout_ = busyRetryTimeout; }

  /// The open database's; absent while closed.
  const std::optional<std::string>& filePath() const { return filePath_; }

  /// The raw handle, null while closed. Setting it does not close the one before.
  sqlite3* _db() const { return _db_; }
  void set_db(sqlite3* db) { _db_ = db; }

  /// What is done to wait, in place of sleeping.
  void setPause(std::function<void(std::chrono::microseconds)> pause) { pause_ = std::move(pause); }

  /// SQLite's, like "3.40.1".
  static std::string version();
  /// A new one: 36 characters, upper case.
  static std::string createUuid();

 private:
  class BoundStatament;

  /// Makes the call until its answer is not "busy", or until it is not to be tried again; the last answer.
  template <typename Call>
  int untilNotBusy(const Call& call);

  void bind(const Arguments& arguments, sqlite3_stmt* statament);

  std::int64_t busyRetryTimeout_ = 0;
  std::optional<std::string> filePath_;
  sqlite3* _db_ = nullptr;

  // SQLite reads what is bound where it lies. A deque: what is in it stays there.
  std::deque<SqliteValue> bound_;
  std::function<void(std::chrono::microseconds)> pause_;
};

}  // namespace tidewell
