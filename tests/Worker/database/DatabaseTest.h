// A database file in a folder of its own, and a connection to it.
#pragma once

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "Worker/database/Sqlite.h"
#include "tests/support/ScratchFolder.h"

namespace testing_support {

/// Runs statements on a separate connection, without the class under test.
inline int runDirectly(const std::string& path, const std::string& statements) {
  sqlite3* db = nullptr;
  int result = sqlite3_open(path.c_str(), &db);
  if (result == SQLITE_OK) result = sqlite3_exec(db, statements.c_str(), nullptr, nullptr, nullptr);
  sqlite3_close(db);
  return result;
}

class DatabaseTest : public ::testing::Test {
 protected:
  /// Creates the database with these statements, and opens it.
  void make(const std::string& statements) {
    ASSERT_EQ(runDirectly(path, statements), SQLITE_OK);
    ASSERT_TRUE(sqlite.open(path));
  }

  /// The value that the statement selects.
  std::optional<tidewell::SqliteValue> valueOf(const std::string& expression,
                                               const tidewell::Sqlite::Arguments& arguments = {}) {
    const auto rows = sqlite.executeQuery_arguments("SELECT " + expression + " AS value", arguments);
    if (!rows || rows->size() != 1) return std::nullopt;
    return (*rows)[0].find("value");
  }

  /// The texts of a column, in order; "-" for a cell without text.
  std::vector<std::string> texts(const std::string& query, const std::string& column) {
    std::vector<std::string> texts;
    const auto rows = sqlite.executeQuery(query);
    if (!rows) return {"no rows"};
    for (const auto& row : *rows) texts.emplace_back(row.stringForKey(column).value_or("-"));
    return texts;
  }

  ScratchFolder folder;
  const std::string path = folder.path("db.sqlite");
  tidewell::Sqlite sqlite;
};

}  // namespace testing_support
