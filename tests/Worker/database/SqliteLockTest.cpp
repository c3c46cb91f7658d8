// Databases that another process is using, and connections that refuse to close.

#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "tests/Worker/database/DatabaseTest.h"

namespace {

using std::chrono::microseconds;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

/// Another process that holds a lock on a database until it is told to release it.
class LockingProcess {
 public:
  LockingProcess(const std::string& path, const std::string& lockingStatements) {
    std::array<int, 2> locked;
    std::array<int, 2> letGo;
    if (::pipe(locked.data()) != 0 || ::pipe(letGo.data()) != 0) return;
    process_ = ::fork();
    if (process_ == 0) {
      ::close(letGo[1]);
      sqlite3* db = nullptr;
      sqlite3_open(path.c_str(), &db);
      char byte = sqlite3_exec(db, lockingStatements.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK ? 'y' : 'n';
      [[maybe_unused]] ssize_t count = ::write(locked[1], &byte, 1);
      count = ::read(letGo[0], &byte, 1);  // until the other end is closed
      ::_exit(0);
    }
    char byte = 'n';
    holds_ = ::read(locked[0], &byte, 1) == 1 && byte == 'y';
    ::close(locked[0]);
    ::close(locked[1]);
    ::close(letGo[0]);
    letGo_ = letGo[1];
  }
  ~LockingProcess() { letGo(); }
  LockingProcess(const LockingProcess&) = delete;
  LockingProcess& operator=(const LockingProcess&) = delete;

  bool holds() const { return holds_; }

  void letGo() {
    if (!holds_ && letGo_ < 0) return;
    ::close(letGo_);
    letGo_ = -1;
    holds_ = false;
    ::waitpid(process_, nullptr, 0);
  }

 private:
  pid_t process_ = -1;
  int letGo_ = -1;
  bool holds_ = false;
};

class SqliteLock : public testing_support::DatabaseTest {
 protected:
  SqliteLock() {
    make("CREATE TABLE t (a); INSERT INTO t VALUES ('x')");
    sqlite.setPause([this](microseconds duration) {
      pauses.push_back(duration);
      if (pauses.size() == letGoAfter || pauses.size() == 10'000) other->letGo();
    });
  }

  void lockAgainstReading() { lock("BEGIN EXCLUSIVE"); }
  void lockAgainstWriting() { lock("BEGIN IMMEDIATE"); }

  std::unique_ptr<LockingProcess> other;
  std::vector<microseconds> pauses;
  std::size_t letGoAfter = 0;

 private:
  void lock(const std::string& statements) {
    other = std::make_unique<LockingProcess>(path, statements);
    ASSERT_TRUE(other->holds());
  }
};

TEST_F(SqliteLock, failsToPrepareAfterASinglePauseOf20Microseconds) {
  lockAgainstReading();
  sqlite3_stmt* statament = nullptr;
  EXPECT_EQ(sqlite.busyRetryTimeout(), 1);
  EXPECT_FALSE(sqlite.prepareSql_inStatament("SELECT a FROM t", statament));
  EXPECT_EQ(statament, nullptr);
  EXPECT_EQ(sqlite.errorCode(), SQLITE_BUSY);
  EXPECT_EQ(sqlite.errorMessage(), "database is locked");
  EXPECT_THAT(pauses, ElementsAre(microseconds(20)));
}

TEST_F(SqliteLock, isNotTriedAgainWithABoundOf0OrMore) {
  lockAgainstReading();
  for (const std::int64_t bound : {std::int64_t{0}, std::int64_t{1}, std::int64_t{1'000'000}}) {
    pauses.clear();
    sqlite.setBusyRetryTimeout(bound);
    EXPECT_FALSE(sqlite.executeQuery("SELECT a FROM t"));
    EXPECT_THAT(pauses, SizeIs(1)) << bound;
  }
}

TEST_F(SqliteLock, isTriedAgainWithANegativeBoundUntilThePreparationWorks) {
  lockAgainstReading();
  sqlite.setBusyRetryTimeout(-1);
  letGoAfter = 200;
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
  EXPECT_THAT(pauses, SizeIs(200));
  EXPECT_THAT(pauses, Each(microseconds(20)));
}

TEST_F(SqliteLock, failsAStepOfAStatementAfterASinglePause) {
  lockAgainstWriting();
  EXPECT_FALSE(sqlite.executeNonQuery("DELETE FROM t"));
  EXPECT_THAT(pauses, SizeIs(1));
  EXPECT_EQ(sqlite.errorCode(), SQLITE_BUSY);
  other->letGo();
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
}

TEST_F(SqliteLock, isTriedAgainWithANegativeBoundUntilTheStepOfAStatementWorks) {
  lockAgainstWriting();
  sqlite.setBusyRetryTimeout(-1);
  letGoAfter = 50;
  EXPECT_TRUE(sqlite.executeNonQuery("DELETE FROM t"));
  EXPECT_THAT(pauses, SizeIs(50));
}

TEST_F(SqliteLock, endsAQueryWithoutRowsWhenItsStepFails) {
  lockAgainstWriting();
  const auto rows = sqlite.executeQuery("DELETE FROM t");
  ASSERT_TRUE(rows);
  EXPECT_TRUE(rows->empty());
  EXPECT_THAT(pauses, SizeIs(1));
  other->letGo();
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
}

TEST_F(SqliteLock, isTriedAgainWithANegativeBoundUntilTheStepOfAQueryWorks) {
  lockAgainstWriting();
  sqlite.setBusyRetryTimeout(-1);
  letGoAfter = 50;
  EXPECT_TRUE(sqlite.executeQuery("DELETE FROM t"));
  EXPECT_THAT(pauses, SizeIs(50));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ::testing::IsEmpty());
}

TEST_F(SqliteLock, pausesByItselfToo) {
  lockAgainstReading();
  sqlite.setPause(nullptr);
  EXPECT_FALSE(sqlite.executeQuery("SELECT a FROM t"));
}

class SqliteClosing : public SqliteLock {
 protected:
  SqliteClosing() {
    EXPECT_TRUE(sqlite.prepareSql_inStatament("SELECT a FROM t", statament));  // while it lives, closing is refused
  }
  ~SqliteClosing() override {
    if (statament) finalise();
    if (dropped) sqlite3_close(dropped);
  }

  void finalise() {
    sqlite3_finalize(statament);
    statament = nullptr;
  }

  sqlite3_stmt* statament = nullptr;
  sqlite3* dropped = nullptr;
};

TEST_F(SqliteClosing, thatIsRefusedDropsTheConnectionAfterASinglePause) {
  dropped = sqlite._db();
  sqlite.close();
  EXPECT_THAT(pauses, ElementsAre(microseconds(20)));
  EXPECT_EQ(sqlite._db(), nullptr);
  EXPECT_EQ(sqlite.filePath(), std::nullopt);
  EXPECT_EQ(sqlite3_errcode(dropped), SQLITE_BUSY);  // the connection is still open
}

TEST_F(SqliteClosing, isTriedAgainWithANegativeBound) {
  sqlite.setBusyRetryTimeout(-1);
  sqlite.setPause([this](microseconds duration) {
    pauses.push_back(duration);
    if (pauses.size() == 10) finalise();
  });
  sqlite.close();
  EXPECT_THAT(pauses, SizeIs(10));
  EXPECT_EQ(sqlite._db(), nullptr);
}

}  // namespace
