// Files that are not what they should be.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/Worker/database/DatabaseTest.h"
#include "tests/support/OrdinaryUser.h"

namespace {

using ::testing::ElementsAre;

class SqliteFile : public testing_support::DatabaseTest {};

constexpr const char* kRow = "CREATE TABLE t (a); INSERT INTO t VALUES ('x')";

TEST_F(SqliteFile, thatIsEmptyIsADatabaseWithoutTables) {
  ASSERT_TRUE(sqlite.open(folder.file("db.sqlite", "")));
  EXPECT_FALSE(sqlite.executeQuery("SELECT a FROM t"));
  EXPECT_FALSE(sqlite.executeQuery("DELETE FROM t"));
  EXPECT_EQ(sqlite.errorMessage(), "no such table: t");
  EXPECT_EQ(folder.content("db.sqlite"), "");
}

TEST_F(SqliteFile, thatIsNoDatabaseOpensButRunsNothingAndStaysAsItIs) {
  const std::string text(5000, 'x');
  ASSERT_TRUE(sqlite.open(folder.file("db.sqlite", text)));
  EXPECT_FALSE(sqlite.executeQuery("SELECT a FROM t"));
  EXPECT_FALSE(sqlite.executeNonQuery("CREATE TABLE t (a)"));
  EXPECT_EQ(sqlite.errorCode(), SQLITE_NOTADB);
  sqlite.close();
  EXPECT_EQ(folder.content("db.sqlite"), text);
}

TEST_F(SqliteFile, thatIsDamagedInTheMiddleGivesWhatCanBeRead) {
  ASSERT_EQ(
      testing_support::runDirectly(path,
                                   "CREATE TABLE t (a); "
                                   "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
                                   "INSERT INTO t SELECT 'row ' || i FROM n"),
      SQLITE_OK);
  std::string content = folder.content("db.sqlite");
  const std::size_t middle = content.size() / 2 / 4096 * 4096;
  content.replace(middle, 4096, 4096, '\xff');
  folder.file("db.sqlite", content);

  ASSERT_TRUE(sqlite.open(path));
  const auto rows = sqlite.executeQuery("SELECT a FROM t");
  ASSERT_TRUE(rows);
  EXPECT_GT(rows->size(), 0U);
  EXPECT_LT(rows->size(), 5000U);
  EXPECT_EQ((*rows)[0].stringForKey("a"), "row 1");
  EXPECT_EQ(sqlite.errorCode(), SQLITE_CORRUPT);
}

TEST_F(SqliteFile, thatIsCutOffRunsNothing) {
  ASSERT_EQ(testing_support::runDirectly(path, kRow), SQLITE_OK);
  for (const std::size_t size : {std::size_t{50}, std::size_t{1000}, std::size_t{4096}}) {
    const std::string cut = folder.content("db.sqlite").substr(0, size);
    ASSERT_TRUE(sqlite.open(folder.file("cut.sqlite", cut)));
    const auto rows = sqlite.executeQuery("SELECT a FROM t");
    EXPECT_TRUE(!rows || rows->empty()) << size;
    sqlite.executeNonQuery("DELETE FROM t");
    sqlite.close();
    EXPECT_EQ(folder.content("cut.sqlite"), cut);
  }
}

TEST_F(SqliteFile, thatIsReadOnlyIsReadAndNotChanged) {
  ASSERT_EQ(testing_support::runDirectly(path, kRow), SQLITE_OK);
  ::chmod(path.c_str(), 0444);
  const std::string before = folder.content("db.sqlite");
  const testing_support::OrdinaryUser user(folder.path());
  ASSERT_TRUE(sqlite.open(path));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
  EXPECT_FALSE(sqlite.executeNonQuery("DELETE FROM t"));
  EXPECT_EQ(sqlite.errorCode(), SQLITE_READONLY);
  const auto rows = sqlite.executeQuery("DELETE FROM t");
  EXPECT_TRUE(rows && rows->empty());
  sqlite.close();
  EXPECT_EQ(folder.content("db.sqlite"), before);
}

TEST_F(SqliteFile, thatMayNotBeReadFailsToOpen) {
  ASSERT_EQ(testing_support::runDirectly(path, kRow), SQLITE_OK);
  ::chmod(path.c_str(), 0000);
  const testing_support::OrdinaryUser user(folder.path());
  EXPECT_FALSE(sqlite.open(path));
  EXPECT_EQ(sqlite.filePath(), std::nullopt);
  EXPECT_EQ(sqlite.errorCode(), SQLITE_CANTOPEN);
}

TEST_F(SqliteFile, thatIsAFolderFailsToOpen) {
  EXPECT_FALSE(sqlite.open(folder.folder("db")));
}

TEST_F(SqliteFile, withATableOfOtherColumnsRunsNothing) {
  make("CREATE TABLE t (b); INSERT INTO t VALUES ('x')");
  EXPECT_FALSE(sqlite.executeQuery("DELETE FROM t WHERE a IN ('x')"));
  EXPECT_THAT(texts("SELECT b FROM t", "b"), ElementsAre("x"));
}

TEST_F(SqliteFile, isOpenedThroughADescriptorAndWrittenInPlace) {
  ASSERT_EQ(testing_support::runDirectly(path, kRow), SQLITE_OK);
  const int descriptor = ::open(path.c_str(), O_PATH | O_CLOEXEC);
  ASSERT_TRUE(sqlite.open("/proc/self/fd/" + std::to_string(descriptor)));
  EXPECT_TRUE(sqlite.executeNonQuery("INSERT INTO t VALUES ('y')"));
  sqlite.close();
  ::close(descriptor);
  ASSERT_TRUE(sqlite.open(path));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x", "y"));
}

TEST_F(SqliteFile, withAWriteAheadLogIsReadWithWhatTheLogHolds) {
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, (std::string("PRAGMA journal_mode = WAL;") + kRow).c_str(), nullptr, nullptr, nullptr),
            SQLITE_OK);
  ASSERT_TRUE(sqlite.open(path));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
  sqlite3_close(other);
}

}  // namespace
