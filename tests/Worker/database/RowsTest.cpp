// The rows of a query, without a database.

#include <gmock/gmock.h>

#include "Worker/database/Rows.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using tidewell::Row;
using tidewell::Rows;
using tidewell::SqliteNull;
using tidewell::SqliteObject;
using tidewell::SqliteValue;

using Cells = std::vector<std::optional<SqliteValue>>;

Rows rowsOf(const std::vector<std::string>& columns, const std::vector<Cells>& all) {
  Rows rows(columns);
  for (const Cells& cells : all) rows.append(cells);
  return rows;
}

TEST(QueryRows, areNoneAtTheBeginning) {
  const Rows rows;
  EXPECT_TRUE(rows.empty());
  EXPECT_EQ(rows.size(), 0U);
  EXPECT_EQ(rows.begin(), rows.end());
  EXPECT_THAT(rows.columnNames(), IsEmpty());
}

TEST(QueryRows, giveEachValueBackUnderItsColumn) {
  const auto data = platform::dataFromBytes("bytes");
  const Rows rows =
      rowsOf({"text", "number", "data", "null", "absent"}, {{"a", 4.5, data, SqliteNull(), std::nullopt}});
  const Row row = rows[0];
  EXPECT_EQ(row.size(), 5U);
  EXPECT_THAT(row.find("text"), Optional(SqliteValue("a")));
  EXPECT_THAT(row.find("number"), Optional(SqliteValue(4.5)));
  EXPECT_THAT(row.find("data"), Optional(SqliteValue(data)));
  EXPECT_THAT(row.find("null"), Optional(SqliteValue(SqliteNull())));
  EXPECT_EQ(row.find("absent"), std::nullopt);
  EXPECT_EQ(row.find("other"), std::nullopt);
}

TEST(QueryRows, giveTextForStringsOnly) {
  const Rows rows = rowsOf({"text", "empty", "number", "data", "null"},
                           {{"a", "", 4.5, platform::dataFromBytes("bytes"), SqliteNull()}});
  EXPECT_EQ(rows[0].stringForKey("text"), "a");
  EXPECT_EQ(rows[0].stringForKey("empty"), "");
  for (const char* column : {"number", "data", "null", "other"}) {
    EXPECT_EQ(rows[0].stringForKey(column), std::nullopt) << column;
  }
}

TEST(QueryRows, areWalkedThroughInOrder) {
  const Rows rows = rowsOf({"a"}, {{"1"}, {SqliteNull()}, {"3"}});
  std::vector<std::string> texts;
  for (const auto& row : rows) {
    if (const auto text = row.stringForKey("a")) texts.emplace_back(*text);
  }
  EXPECT_THAT(texts, ElementsAre("1", "3"));
}

TEST(QueryRows, stayWhereTheyAreWhenMoreAreAppendedAndWhenTheyAreMoved) {
  Rows rows = rowsOf({"a"}, {{"first"}});
  const Row first = rows[0];
  const auto text = first.stringForKey("a");
  for (int count = 0; count < 10'000; ++count) rows.append(Cells{std::to_string(count)});
  const Rows moved = std::move(rows);
  EXPECT_EQ(text, "first");
  EXPECT_EQ(first.stringForKey("a"), "first");
  EXPECT_EQ(moved[10'000].stringForKey("a"), "9999");
}

TEST(QueryRows, holdValuesOfAnySize) {
  const std::string large(5'000'000, 'x');
  const Rows rows = rowsOf({"a", "b"}, {{"small", ""}, {large, "behind"}, {"small again", ""}});
  EXPECT_EQ(rows[1].stringForKey("a"), large);
  EXPECT_EQ(rows[1].stringForKey("b"), "behind");
  EXPECT_EQ(rows[2].stringForKey("a"), "small again");
}

TEST(QueryRows, keepTheLastOfSeveralColumnsWithOneName) {
  const Rows rows = rowsOf({"a", "b", "a"}, {{"1", "2", "3"}});
  EXPECT_THAT(rows.columnNames(), ElementsAre("a", "b"));
  EXPECT_EQ(rows[0].stringForKey("a"), "3");
  EXPECT_EQ(rows[0].stringForKey("b"), "2");
}

TEST(QueryRows, takeMissingCellsAndKindsThatNoColumnHoldsForAbsent) {
  const Rows rows = rowsOf({"a", "b", "c"}, {{SqliteObject{"object"}, platform::Date()}});
  for (const char* column : {"a", "b", "c"}) EXPECT_EQ(rows[0].find(column), std::nullopt);
}

}  // namespace
