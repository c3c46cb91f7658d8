// Real databases for tests, and a look at the statements that are run on them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/Journal.h"

namespace testing_support {

/// Runs statements on a database file, which is made when it is missing, with the folders above it.
void runStatements(const std::string& path, const std::string& statements);

/// The first column of every row, as text.
std::vector<std::string> valuesOf(const std::string& path, const std::string& query);

/// Journal, as long as it lives: "sql STATEMENT on PATH" for each statement that runs in this process.
class StatementJournal {
 public:
  explicit StatementJournal(Journal& journal);
  ~StatementJournal();
  StatementJournal(const StatementJournal&) = delete;
  StatementJournal& operator=(const StatementJournal&) = delete;
};

/// As long as it lives no database waits for the disk, which takes long, and tests survive no power failure.
class UnflushedDatabases {
 public:
  UnflushedDatabases();
  ~UnflushedDatabases();
  UnflushedDatabases(const UnflushedDatabases&) = delete;
  UnflushedDatabases& operator=(const UnflushedDatabases&) = delete;
};

}  // namespace testing_support
