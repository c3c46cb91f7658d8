// Arguments: the SQLite type that each kind of value becomes.

#include <stdexcept>

#include "tests/Worker/database/DatabaseTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Optional;
using ::testing::Pair;
using tidewell::SqliteNull;
using tidewell::SqliteNumber;
using tidewell::SqliteObject;
using tidewell::SqliteValue;

class SqliteBinding : public testing_support::DatabaseTest {
 protected:
  SqliteBinding() { make("CREATE TABLE t (a); INSERT INTO t VALUES ('x'), ('it''s')"); }

  /// The type and literal of the bound argument.
  std::pair<std::string, std::string> bound(const SqliteValue& argument) {
    const auto rows = sqlite.executeQuery_arguments("SELECT typeof(?1) AS type, quote(?1) AS literal", {argument});
    if (!rows || rows->size() != 1) return {};
    return {std::string((*rows)[0].stringForKey("type").value_or("")),
            std::string((*rows)[0].stringForKey("literal").value_or(""))};
  }
};

TEST_F(SqliteBinding, bindsTheNullMarkerAsNull) {
  EXPECT_THAT(bound(SqliteNull()), Pair("null", "NULL"));
}

TEST_F(SqliteBinding, bindsAnAbsentObjectAsNull) {
  sqlite3_stmt* statament = nullptr;
  ASSERT_TRUE(sqlite.prepareSql_inStatament("SELECT ? IS NULL AS n", statament));
  sqlite.bindObject_toColumn_inStatament(SqliteValue("x"), 1, statament);
  sqlite.bindObject_toColumn_inStatament(std::nullopt, 1, statament);
  EXPECT_TRUE(sqlite.hasData(statament));
  EXPECT_THAT(sqlite.columnData_columnIndex(statament, 0), Optional(SqliteValue("1")));
  sqlite3_finalize(statament);
}

TEST_F(SqliteBinding, bindsDataAsABlob) {
  EXPECT_THAT(bound(platform::dataFromBytes(std::string_view("a\0b", 3))), Pair("blob", "X'610062'"));
  EXPECT_THAT(bound(platform::Data()), Pair("blob", "X''"));
}

TEST_F(SqliteBinding, bindsADateAsSecondsSince1970) {
  const platform::Date date{std::chrono::milliseconds(1'500'000'000'500)};
  EXPECT_THAT(valueOf("?", {date}), Optional(SqliteValue(1'500'000'000.5)));
  EXPECT_THAT(bound(platform::Date()), Pair("real", "0.0"));
}

TEST_F(SqliteBinding, bindsABooleanAs1Or0) {
  EXPECT_THAT(bound(true), Pair("integer", "1"));
  EXPECT_THAT(bound(false), Pair("integer", "0"));
  EXPECT_THAT(bound(static_cast<signed char>(7)), Pair("integer", "1"));  // it has the type encoding of a boolean
}

TEST_F(SqliteBinding, bindsWholeNumbersOf32And64Bits) {
  EXPECT_THAT(bound(-7), Pair("integer", "-7"));
  EXPECT_THAT(bound(std::int64_t{9'223'372'036'854'775'807}), Pair("integer", "9223372036854775807"));
}

TEST_F(SqliteBinding, bindsRealNumbers) {
  EXPECT_THAT(bound(4.5), Pair("real", "4.5"));
  EXPECT_THAT(valueOf("?", {0.1}), Optional(SqliteValue(0.1)));  // a float would not be equal
  EXPECT_THAT(valueOf("?", {0.1F}), Optional(SqliteValue(double{0.1F})));
}

TEST_F(SqliteBinding, bindsNumbersOfOtherTypesAsTheirDescription) {
  EXPECT_THAT(bound(static_cast<short>(-7)), Pair("text", "'-7'"));
  EXPECT_THAT(bound(7U), Pair("text", "'7'"));
  EXPECT_THAT(bound(std::uint64_t{18'446'744'073'709'551'615U}), Pair("text", "'18446744073709551615'"));
  EXPECT_THAT(bound(static_cast<unsigned char>(200)), Pair("text", "'200'"));
}

TEST_F(SqliteBinding, bindsAStringWithItsQuotes) {
  EXPECT_THAT(bound("it's"), Pair("text", "'it''s'"));
  EXPECT_TRUE(sqlite.executeNonQuery_arguments("DELETE FROM t WHERE a = ?", {"it's"}));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x"));
}

TEST_F(SqliteBinding, bindsAStringUpToItsFirstZero) {
  EXPECT_THAT(bound(std::string("ab\0cd", 5)), Pair("text", "'ab'"));
}

TEST_F(SqliteBinding, bindsAStringThatIsNotUTF8AsItIs) {
  EXPECT_THAT(valueOf("hex(?)", {"\xc3\x28\xff"}), Optional(SqliteValue("C328FF")));
}

TEST_F(SqliteBinding, bindsAnyOtherObjectAsItsDescription) {
  EXPECT_THAT(bound(SqliteObject{"a größe"}), Pair("text", "'a größe'"));
}

TEST_F(SqliteBinding, bindsEachParameterInItsTurn) {
  const std::vector<SqliteValue> arguments = {"a", 2, SqliteNull(), std::string(1000, 'z')};
  EXPECT_THAT(valueOf("? || ? || (? IS NULL) || length(?)", arguments), Optional(SqliteValue("a211000")));
}

TEST_F(SqliteBinding, leavesArgumentsBeyondTheParametersAlone) {
  EXPECT_THAT(valueOf("?", {"a", "b"}), Optional(SqliteValue("a")));
}

TEST_F(SqliteBinding, raisesWhenArgumentsAreMissing) {
  EXPECT_THROW(sqlite.executeQuery_arguments("SELECT ?, ?", {"a"}), std::out_of_range);
  EXPECT_THROW(sqlite.executeNonQuery_arguments("DELETE FROM t WHERE a = ?", {}), std::out_of_range);
  EXPECT_EQ(sqlite3_next_stmt(sqlite._db(), nullptr), nullptr);  // the statement is finalised
}

TEST_F(SqliteBinding, doesNotReadArgumentsBehindTheText) {
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("x", "it's"));
  EXPECT_TRUE(sqlite.executeQuery("SELECT a FROM t", 1, "two"));
  EXPECT_THROW(sqlite.executeQuery("SELECT ?", "x"), std::out_of_range);
  EXPECT_THROW(sqlite.executeNonQuery("DELETE FROM t WHERE a = ?", "x"), std::out_of_range);
}

TEST_F(SqliteBinding, finalisesEveryStatement) {
  sqlite.executeQuery_arguments("SELECT ?", {"a"});
  sqlite.executeQuery("SELECT missing");
  sqlite.executeNonQuery("SELECT a FROM t");
  EXPECT_EQ(sqlite3_next_stmt(sqlite._db(), nullptr), nullptr);
}

TEST(SqliteNumbers, knowTheTypeThatTheyWereMadeFrom) {
  EXPECT_EQ(SqliteNumber(true).typeEncoding(), "c");
  EXPECT_EQ(SqliteNumber(std::int16_t{1}).typeEncoding(), "s");
  EXPECT_EQ(SqliteNumber(1).typeEncoding(), "i");
  EXPECT_EQ(SqliteNumber(1LL).typeEncoding(), "q");
  EXPECT_EQ(SqliteNumber(std::uint8_t{1}).typeEncoding(), "C");
  EXPECT_EQ(SqliteNumber(std::uint16_t{1}).typeEncoding(), "S");
  EXPECT_EQ(SqliteNumber(1U).typeEncoding(), "I");
  EXPECT_EQ(SqliteNumber(1ULL).typeEncoding(), "Q");
  EXPECT_EQ(SqliteNumber(1.0F).typeEncoding(), "f");
  EXPECT_EQ(SqliteNumber(1.0).typeEncoding(), "d");
}

TEST(SqliteNumbers, areDescribedInDecimal) {
  EXPECT_EQ(SqliteNumber(true).description(), "1");
  EXPECT_EQ(SqliteNumber(-42).description(), "-42");
  EXPECT_EQ(SqliteNumber(4.5).description(), "4.5");
  EXPECT_EQ(SqliteNumber(0.1F).description(), "0.1");
}

}  // namespace
