// Opening and closing, errors, transactions, and what belongs to the class.

#include <functional>
#include <regex>
#include <set>
#include <utility>

#include "tests/Worker/database/DatabaseTest.h"
#include "tests/support/Databases.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tidewell::Sqlite;

class SqliteConnection : public testing_support::DatabaseTest {};

TEST_F(SqliteConnection, beginsClosedWithABoundOf1) {
  EXPECT_EQ(sqlite.busyRetryTimeout(), 1);
  EXPECT_EQ(sqlite.filePath(), std::nullopt);
  EXPECT_EQ(sqlite._db(), nullptr);
}

TEST_F(SqliteConnection, madeWithAFileIsOpenWithABoundOf0) {
  const Sqlite made(path);
  EXPECT_EQ(made.busyRetryTimeout(), 0);
  EXPECT_EQ(made.filePath(), path);
  EXPECT_NE(made._db(), nullptr);
}

TEST_F(SqliteConnection, madeWithAFileThatCanNotBeOpenedHasNoPathButMayHoldAHandle) {
  Sqlite made(folder.path("missing/db.sqlite"));
  EXPECT_EQ(made.filePath(), std::nullopt);
  EXPECT_EQ(made.errorCode(), SQLITE_CANTOPEN);
  EXPECT_EQ(made.errorMessage(), "unable to open database file");
  EXPECT_FALSE(made.executeQuery("SELECT 1"));
  EXPECT_FALSE(made.executeNonQuery("CREATE TABLE t (a)"));
}

TEST_F(SqliteConnection, keepsTheBoundThatItIsGiven) {
  sqlite.setBusyRetryTimeout(-5'000'000'000);
  EXPECT_EQ(sqlite.busyRetryTimeout(), -5'000'000'000);
}

TEST_F(SqliteConnection, createsAMissingFile) {
  EXPECT_TRUE(sqlite.open(path));
  EXPECT_TRUE(sqlite.executeNonQuery("CREATE TABLE t (a)"));
  EXPECT_TRUE(folder.exists("db.sqlite"));
}

TEST_F(SqliteConnection, opensAPathThatALinkLeadsTo) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('x')");
  folder.link("link", path);
  EXPECT_TRUE(sqlite.open(folder.path("link")));
  EXPECT_EQ(sqlite.filePath(), folder.path("link"));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
}

TEST_F(SqliteConnection, openedTwiceClosesTheFirstBeforeTheSecond) {
  make("CREATE TABLE t (a)");
  ASSERT_TRUE(sqlite.beginTransaction());  // takes a lock that only closing releases
  const std::string second = folder.path("second.sqlite");
  EXPECT_TRUE(sqlite.open(second));
  EXPECT_EQ(sqlite.filePath(), second);
  EXPECT_EQ(testing_support::runDirectly(path, "INSERT INTO t VALUES (1)"), SQLITE_OK);
}

TEST_F(SqliteConnection, opensItsOwnFilePathAgain) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('x')");
  EXPECT_TRUE(sqlite.open(*sqlite.filePath()));
  EXPECT_EQ(sqlite.filePath(), path);
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
}

/// Called once, while a connection is being opened.
std::function<void()> whileOpening;

int onOpening(sqlite3*, const char**, const void*) {
  if (whileOpening) std::exchange(whileOpening, nullptr)();
  return SQLITE_OK;
}

TEST_F(SqliteConnection, hasClosedTheFirstWhenItOpensTheSecond) {
  make("CREATE TABLE t (a)");
  ASSERT_TRUE(sqlite.beginTransaction());
  int whileTheSecondOpened = SQLITE_BUSY;
  whileOpening = [&] { whileTheSecondOpened = testing_support::runDirectly(path, "INSERT INTO t VALUES (1)"); };
  const auto entryPoint = reinterpret_cast<void (*)()>(onOpening);  // the type that SQLite declares for entry points
  sqlite3_auto_extension(entryPoint);
  EXPECT_TRUE(sqlite.open(folder.path("second.sqlite")));
  sqlite3_cancel_auto_extension(entryPoint);
  EXPECT_EQ(whileTheSecondOpened, SQLITE_OK);
}

TEST_F(SqliteConnection, thatFailsToOpenAnotherFileHasClosedTheFirst) {
  make("CREATE TABLE t (a)");
  EXPECT_FALSE(sqlite.open(folder.path("missing/db.sqlite")));
  EXPECT_EQ(sqlite.filePath(), std::nullopt);
  EXPECT_FALSE(sqlite.executeQuery("SELECT a FROM t"));
}

TEST_F(SqliteConnection, opensAfterAFailure) {
  EXPECT_FALSE(sqlite.open(folder.path("missing/db.sqlite")));
  EXPECT_TRUE(sqlite.open(path));
}

TEST_F(SqliteConnection, closesAndIsAsAtTheBeginning) {
  make("CREATE TABLE t (a)");
  sqlite.close();
  EXPECT_EQ(sqlite.filePath(), std::nullopt);
  EXPECT_EQ(sqlite._db(), nullptr);
  sqlite.close();
  EXPECT_EQ(sqlite._db(), nullptr);
  EXPECT_FALSE(sqlite.executeQuery("SELECT 1"));
  EXPECT_FALSE(sqlite.executeNonQuery("DELETE FROM t"));
}

TEST_F(SqliteConnection, closesTheHandleThatItIsGiven) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
  sqlite.set_db(db);
  EXPECT_EQ(sqlite._db(), db);
  EXPECT_THAT(texts("SELECT 'x' AS a", "a"), ElementsAre("x"));
  sqlite.close();
  EXPECT_EQ(sqlite._db(), nullptr);
}

TEST_F(SqliteConnection, doesNotCloseTheHandleBeforeTheOneThatItIsGiven) {
  make("CREATE TABLE t (a)");
  sqlite3* const before = sqlite._db();
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
  sqlite.set_db(db);
  EXPECT_EQ(sqlite3_exec(before, "INSERT INTO t VALUES (1)", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_close(before), SQLITE_OK);
}

TEST_F(SqliteConnection, closesWhenItIsDestroyed) {
  {
    Sqlite other(path);
    ASSERT_TRUE(other.executeNonQuery("CREATE TABLE t (a)"));
    ASSERT_TRUE(other.beginTransaction());
  }
  EXPECT_EQ(testing_support::runDirectly(path, "INSERT INTO t VALUES (1)"), SQLITE_OK);
}

TEST_F(SqliteConnection, tellsTheErrorOfTheLastCall) {
  make("CREATE TABLE t (a)");
  EXPECT_EQ(sqlite.errorCode(), SQLITE_OK);
  EXPECT_FALSE(sqlite.executeQuery("SELECT b FROM t"));
  EXPECT_EQ(sqlite.errorCode(), SQLITE_ERROR);
  EXPECT_EQ(sqlite.errorMessage(), "no such column: b");
}

TEST_F(SqliteConnection, keepsWhatATransactionCommitsAndDropsWhatItRollsBack) {
  make("CREATE TABLE t (a)");
  EXPECT_TRUE(sqlite.beginTransaction());
  EXPECT_TRUE(sqlite.executeNonQuery("INSERT INTO t VALUES ('kept')"));
  EXPECT_TRUE(sqlite.commit());
  EXPECT_TRUE(sqlite.beginDeferredTransaction());
  EXPECT_TRUE(sqlite.executeNonQuery("INSERT INTO t VALUES ('dropped')"));
  EXPECT_TRUE(sqlite.rollback());
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("kept"));
}

TEST_F(SqliteConnection, failsToEndATransactionThatHasNotBegun) {
  make("CREATE TABLE t (a)");
  EXPECT_FALSE(sqlite.commit());
  EXPECT_FALSE(sqlite.rollback());
  EXPECT_TRUE(sqlite.beginTransaction());
  EXPECT_FALSE(sqlite.beginDeferredTransaction());
}

TEST_F(SqliteConnection, locksTheFileInATransactionOnlyWhenThatIsNotDeferred) {
  make("CREATE TABLE t (a)");
  ASSERT_TRUE(sqlite.beginDeferredTransaction());
  EXPECT_EQ(testing_support::runDirectly(path, "SELECT a FROM t"), SQLITE_OK);
  ASSERT_TRUE(sqlite.commit());
  ASSERT_TRUE(sqlite.beginTransaction());
  EXPECT_EQ(testing_support::runDirectly(path, "SELECT a FROM t"), SQLITE_BUSY);
}

TEST_F(SqliteConnection, locksTheFileInADeferredTransactionOnlyWhenItIsUsed) {
  make("CREATE TABLE t (a)");
  ASSERT_TRUE(sqlite.beginDeferredTransaction());
  EXPECT_EQ(testing_support::runDirectly(path, "INSERT INTO t VALUES (1)"), SQLITE_OK);
  ASSERT_TRUE(sqlite.executeNonQuery("INSERT INTO t VALUES (2)"));
  EXPECT_EQ(testing_support::runDirectly(path, "INSERT INTO t VALUES (3)"), SQLITE_BUSY);
  EXPECT_EQ(testing_support::runDirectly(path, "SELECT a FROM t"), SQLITE_OK);  // the lock is not exclusive
}

TEST_F(SqliteConnection, beginsAndEndsTransactionsWithTheseStatements) {
  make("CREATE TABLE t (a)");
  testing_support::Journal journal;
  const testing_support::StatementJournal statements(journal);
  ASSERT_TRUE(sqlite.open(path));  // the journal notes the statements of connections opened from now on
  EXPECT_TRUE(sqlite.beginTransaction());
  EXPECT_TRUE(sqlite.commit());
  EXPECT_TRUE(sqlite.beginDeferredTransaction());
  EXPECT_TRUE(sqlite.rollback());
  const std::string on = " on " + path;
  EXPECT_THAT(journal.entriesAfter("sql "),
              ElementsAre("BEGIN EXCLUSIVE TRANSACTION;" + on, "COMMIT TRANSACTION;" + on,
                          "BEGIN DEFERRED TRANSACTION;" + on, "ROLLBACK TRANSACTION;" + on));
}

TEST(SqliteClass, tellsTheVersionOfTheLibrary) {
  EXPECT_EQ(Sqlite::version(), sqlite3_libversion());
}

TEST(SqliteClass, makesANewUuidEachTime) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> made;
  for (int count = 0; count < 1000; ++count) {
    const std::string uuid = Sqlite::createUuid();
    EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
    made.insert(uuid);
  }
  EXPECT_EQ(made.size(), 1000U);
}

}  // namespace
