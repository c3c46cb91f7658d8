// Queries, statements without rows, and how columns are read.

#include <malloc.h>

#include "tests/Worker/database/DatabaseTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::SizeIs;
using testing_support::DatabaseTest;
using tidewell::SqliteNull;
using tidewell::SqliteNumber;
using tidewell::SqliteValue;

class SqliteQuery : public DatabaseTest {};
class SqliteNonQuery : public DatabaseTest {};
class SqliteColumn : public DatabaseTest {};

constexpr const char* kTwoRows = "CREATE TABLE t (a, b); INSERT INTO t VALUES ('x', 1), ('y', 2)";

TEST_F(SqliteQuery, givesRowsInTheOrderOfTheDatabase) {
  make(kTwoRows);
  EXPECT_THAT(texts("SELECT a FROM t ORDER BY b DESC", "a"), ElementsAre("y", "x"));
}

TEST_F(SqliteQuery, givesEachColumnUnderItsName) {
  make(kTwoRows);
  const auto rows = sqlite.executeQuery("SELECT a, b AS \"größe\" FROM t");
  ASSERT_TRUE(rows);
  EXPECT_THAT(rows->columnNames(), ElementsAre("a", "größe"));
  EXPECT_EQ((*rows)[1].stringForKey("größe"), "2");
}

TEST_F(SqliteQuery, letsALaterColumnReplaceAnEarlierOneOfTheSameName) {
  make(kTwoRows);
  const auto rows = sqlite.executeQuery("SELECT 'first' AS n, 'other' AS o, 'last' AS n");
  ASSERT_TRUE(rows);
  EXPECT_THAT(rows->columnNames(), ElementsAre("n", "o"));
  EXPECT_EQ((*rows)[0].stringForKey("n"), "last");
  EXPECT_EQ((*rows)[0].stringForKey("o"), "other");
}

TEST_F(SqliteQuery, thatDeletesGivesNoRowsAndDeletes) {
  make(kTwoRows);
  const auto rows = sqlite.executeQuery("DELETE FROM t WHERE a = 'x'");
  ASSERT_TRUE(rows);
  EXPECT_TRUE(rows->empty());
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("y"));
}

TEST_F(SqliteQuery, thatCanNotBePreparedGivesNothing) {
  make(kTwoRows);
  EXPECT_FALSE(sqlite.executeQuery("SELECT a FROM missing"));
  EXPECT_FALSE(sqlite.executeQuery("SELECT missing FROM t"));
  EXPECT_FALSE(sqlite.executeQuery("no statement at all"));
}

TEST_F(SqliteQuery, withoutAStatementGivesNoRows) {
  make(kTwoRows);
  for (const char* text : {"", " ", "-- a remark", ";"}) {
    const auto rows = sqlite.executeQuery(text);
    ASSERT_TRUE(rows) << text;
    EXPECT_TRUE(rows->empty());
    EXPECT_FALSE(sqlite.executeNonQuery(text));
  }
}

TEST_F(SqliteQuery, thatFailsOnTheWayGivesTheRowsUpToThere) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES (1), (2), (-9223372036854775808), (4)");
  EXPECT_THAT(texts("SELECT abs(a) AS n FROM t", "n"), ElementsAre("1", "2"));
  EXPECT_EQ(sqlite.errorMessage(), "integer overflow");
  EXPECT_TRUE(sqlite.open(path));  // fails while a statement is left
}

TEST_F(SqliteQuery, runsOnlyTheFirstStatementOfAText) {
  make(kTwoRows);
  EXPECT_THAT(texts("SELECT a FROM t; DELETE FROM t", "a"), SizeIs(2));
  EXPECT_TRUE(sqlite.executeNonQuery("UPDATE t SET a = 'z' WHERE b = 1; DROP TABLE t"));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("z", "y"));
}

TEST_F(SqliteQuery, withAQuoteInAListOfValuesFailsOrMatchesNothing) {
  make(kTwoRows);
  EXPECT_FALSE(sqlite.executeQuery("DELETE FROM t WHERE a IN ('it's')"));
  EXPECT_FALSE(sqlite.executeQuery("DELETE FROM t WHERE a IN ('x'')"));
  EXPECT_TRUE(sqlite.executeQuery("DELETE FROM t WHERE a IN ('q'); DELETE FROM t; --')"));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x", "y"));
}

TEST_F(SqliteQuery, seesTheColumnsThatATableHasWhenItRuns) {
  make(kTwoRows);
  EXPECT_THAT(texts("SELECT * FROM t", "a"), SizeIs(2));
  ASSERT_EQ(testing_support::runDirectly(path, "ALTER TABLE t RENAME COLUMN a TO renamed"), SQLITE_OK);
  EXPECT_THAT(texts("SELECT * FROM t", "renamed"), ElementsAre("x", "y"));
}

TEST_F(SqliteQuery, readsAMillionRowsInLittleMemory) {
  ASSERT_TRUE(sqlite.open(path));
  const auto used = [] {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  const std::size_t before = used();
  const auto rows = sqlite.executeQuery(
      "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 999999) "
      "SELECT 'https://site' || i || '.example' AS origin, i FROM n");
  const std::size_t after = used();
  ASSERT_TRUE(rows);
  ASSERT_EQ(rows->size(), 1'000'000U);
  EXPECT_EQ((*rows)[999'999].stringForKey("origin"), "https://site999999.example");
  // A row takes 26 + 6 bytes for its values, 2 * 5 for its cells, and 8 for its index (up to 16 in a vector that grew).
  EXPECT_LT(after - std::min(after, before), 60'000'000U);
}

TEST_F(SqliteNonQuery, withARowAnswersFalse) {
  make(kTwoRows);
  EXPECT_FALSE(sqlite.executeNonQuery("SELECT a FROM t"));
}

TEST_F(SqliteNonQuery, ofASelectionWithoutRowsAnswersTrue) {
  make(kTwoRows);
  EXPECT_TRUE(sqlite.executeNonQuery("SELECT a FROM t WHERE a = 'missing'"));
}

TEST_F(SqliteNonQuery, changesTheDatabase) {
  make(kTwoRows);
  EXPECT_TRUE(sqlite.executeNonQuery("DELETE FROM t WHERE a = 'x'"));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("y"));
}

TEST_F(SqliteNonQuery, thatFailsInTheStepAnswersFalse) {
  make("CREATE TABLE t (a UNIQUE); INSERT INTO t VALUES (1)");
  EXPECT_FALSE(sqlite.executeNonQuery("INSERT INTO t VALUES (1)"));
  EXPECT_EQ(sqlite.errorCode(), SQLITE_CONSTRAINT);
}

TEST_F(SqliteNonQuery, thatCanNotBePreparedAnswersFalse) {
  make(kTwoRows);
  EXPECT_FALSE(sqlite.executeNonQuery("DELETE FROM missing"));
}

TEST_F(SqliteColumn, withAWholeNumberIsAString) {
  make(kTwoRows);
  EXPECT_THAT(valueOf("42"), Optional(SqliteValue("42")));
  EXPECT_THAT(valueOf("-9223372036854775808"), Optional(SqliteValue("-9223372036854775808")));
}

TEST_F(SqliteColumn, withARealNumberIsANumber) {
  make(kTwoRows);
  EXPECT_THAT(valueOf("4.5"), Optional(SqliteValue(4.5)));
  EXPECT_THAT(valueOf("2.0"), Optional(SqliteValue(2.0)));
}

TEST_F(SqliteColumn, withNullIsTheNullMarker) {
  make(kTwoRows);
  EXPECT_THAT(valueOf("NULL"), Optional(SqliteValue(SqliteNull())));
}

TEST_F(SqliteColumn, withABlobIsDataOfItsLength) {
  make(kTwoRows);
  const auto data = platform::dataFromBytes(std::string_view("a\0b\xff", 4));
  EXPECT_THAT(valueOf("x'610062ff'"), Optional(SqliteValue(data)));
}

TEST_F(SqliteColumn, withAnEmptyBlobIsEmptyData) {
  make(kTwoRows);
  EXPECT_THAT(valueOf("x''"), Optional(SqliteValue(platform::Data())));
  EXPECT_THAT(valueOf("zeroblob(0)"), Optional(SqliteValue(platform::Data())));
}

TEST_F(SqliteColumn, ofTextWithABlobInItIsDataAndNoString) {
  make("CREATE TABLE t (a TEXT); INSERT INTO t VALUES (x'6162'), ('ab')");
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("-", "ab"));
  EXPECT_THAT(valueOf("(SELECT a FROM t LIMIT 1)"), Optional(SqliteValue(platform::dataFromBytes("ab"))));
}

TEST_F(SqliteColumn, ofTextEndsAtTheFirstZero) {
  make(kTwoRows);
  EXPECT_THAT(valueOf("'ab' || char(0) || 'cd'"), Optional(SqliteValue("ab")));
  EXPECT_THAT(valueOf("''"), Optional(SqliteValue("")));
}

TEST_F(SqliteColumn, ofUTF16TextIsReadAsAnyOther) {
  make("PRAGMA encoding = 'UTF-16le'; CREATE TABLE t (a); INSERT INTO t VALUES ('größe')");
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("größe"));
}

TEST_F(SqliteColumn, withTextThatIsNotUTF8KeepsItsBytesForALaterStatement) {
  make("CREATE TABLE t (a TEXT); INSERT INTO t VALUES (CAST(x'c328ff41' AS TEXT)), ('other')");
  const std::vector<std::string> read = texts("SELECT a FROM t ORDER BY rowid", "a");
  ASSERT_THAT(read, ElementsAre("\xc3\x28\xff\x41", "other"));
  EXPECT_TRUE(sqlite.executeQuery("DELETE FROM t WHERE a IN ('" + read[0] + "')"));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("other"));
}

TEST_F(SqliteColumn, isReadStepByStep) {
  make(kTwoRows);
  sqlite3_stmt* statament = nullptr;
  ASSERT_TRUE(sqlite.prepareSql_inStatament("SELECT a, b FROM t", statament));
  EXPECT_EQ(sqlite.columnName_columnIndex(statament, 1), "b");
  EXPECT_EQ(sqlite.columnName_columnIndex(statament, 7), "");
  EXPECT_TRUE(sqlite.hasData(statament));
  EXPECT_THAT(sqlite.columnData_columnIndex(statament, 0), Optional(SqliteValue("x")));
  EXPECT_THAT(sqlite.columnData_columnIndex(statament, 1), Optional(SqliteValue("1")));
  EXPECT_TRUE(sqlite.hasData(statament));
  EXPECT_FALSE(sqlite.hasData(statament));
  sqlite3_finalize(statament);
}

}  // namespace
