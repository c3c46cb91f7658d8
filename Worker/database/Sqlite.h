// A connection to one SQLite database.
//
// An object is used by one thread at a time. Nothing is logged, and nothing is thrown but std::out_of_range for too few
// arguments: failures show in the return values described below, and afterwards in errorCode() and errorMessage(). Text
// of statements is UTF-8; so is all that is read, but texts in text columns, error messages and bound strings are
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
  /// Opens the file; whether that worked shows in filePath(). The busyRetryTimeout is 0, deliberately unlike that of
  /// the other constructor.
  explicit Sqlite(const std::string& path);
  ~Sqlite();
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  /// Closes what is open, then opens the file, creating it when missing. On failure filePath() is absent, but _db() may
  /// hold a handle that can only report the error.
  bool open(const std::string& path);
  /// Afterwards nothing is open, even when the database refused to close (a statement is still alive): then the
  /// connection is abandoned.
  void close();

  std::int32_t errorCode() const;
  std::string errorMessage() const;

  // Queries: all rows of a statement. Absent when it could not be prepared; an error later on just ends the rows. Only
  // the first statement of a text is ever compiled.

  /// For a statement without parameters: arguments after the text are deliberately ignored.
  template <typename... Unread>
  std::optional<Rows> executeQuery(const std::string& sql, const Unread&... /*unread*/) {
    return executeQuery_arguments(sql, {});
  }
  /// With an argument for each of the statement's parameters, or more.
  std::optional<Rows> executeQuery_arguments(const std::string& sql, const Arguments& arguments);

  // Statements without rows: true when the statement ran to its end. A statement that yields a row returns false.

  /// Ignores arguments after the text, too.
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
  /// Parameters count from 1. Bound values are valid only as long as this object lives.
  void bindObject_toColumn_inStatament(std::optional<SqliteValue> object, std::int32_t column, sqlite3_stmt* statament);
  /// Steps to the next row. False at the end, and after an error.
  bool hasData(sqlite3_stmt* statament);
  /// Columns count from 0. Whole numbers come as strings, in decimal; real ones as numbers.
  std::optional<SqliteValue> columnData_columnIndex(sqlite3_stmt* statament, std::int32_t columnIndex) const;
  std::string columnName_columnIndex(sqlite3_stmt* statament, std::int32_t columnIndex) const;

  /// For a busy database: 0 or more never retries, a negative value retries without end.
  std::int64_t busyRetryTimeout() const { return busyRetryTimeout_; }
  void setBusyRetryTimeout(std::int64_t busyRetryTimeout) { busyRetryTimeout_ = busyRetryTimeout; }

  /// The path of the open database; absent while closed.
  const std::optional<std::string>& filePath() const { return filePath_; }

  /// The raw handle, null while closed. Setting it does not close the previous one.
  sqlite3* _db() const { return _db_; }
  void set_db(sqlite3* db) { _db_ = db; }

  /// Replaces the sleep after a busy result.
  void setPause(std::function<void(std::chrono::microseconds)> pause) { pause_ = std::move(pause); }

  /// SQLite's, like "3.40.1".
  static std::string version();
  /// A new one: 36 characters, upper case.
  static std::string createUuid();

 private:
  class BoundStatament;

  /// Repeats the call while it returns "busy" and busyRetryTimeout() allows it. Returns the last result.
  template <typename Call>
  int untilNotBusy(const Call& call);

  void bind(const Arguments& arguments, sqlite3_stmt* statament);

  std::int64_t busyRetryTimeout_ = 0;
  std::optional<std::string> filePath_;
  sqlite3* _db_ = nullptr;

  // SQLite reads bound values in place; the elements of a deque never move.
  std::deque<SqliteValue> bound_;
  std::function<void(std::chrono::microseconds)> pause_;
};

}  // namespace tidewell
