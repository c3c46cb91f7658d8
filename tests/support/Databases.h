// Real databases for tests, and a journal of the statements that run on them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/Journal.h"

namespace testing_support {

/// Runs statements on a database file, which is created when it is missing, with the folders above it.
void runStatements(const std::string& path, const std::string& statements);

/// The first column of every row, as text.
std::vector<std::string> valuesOf(const std::string& path, const std::string& query);

/// While it lives, each statement that runs in this process is in the journal: "sql STATEMENT on PATH".
class StatementJournal {
 public:
  explicit StatementJournal(Journal& journal);
  ~StatementJournal();
  StatementJournal(const StatementJournal&) = delete;
  StatementJournal& operator=(const StatementJournal&) = delete;
};

/// While it lives, no database is flushed: that takes long, and tests needn't survive a power failure.
class UnflushedDatabases {
 public:
  UnflushedDatabases();
  ~UnflushedDatabases();
  UnflushedDatabases(const UnflushedDatabases&) = delete;
  UnflushedDatabases& operator=(const UnflushedDatabases&) = delete;
};

}  // namespace testing_support
