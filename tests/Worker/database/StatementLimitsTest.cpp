// Databases whose schema is chosen by whoever wants to harm.

#include <sqlite3.h>

#include "Worker/database/StatementLimits.h"
#include "tests/Worker/database/DatabaseTest.h"

namespace {

using namespace std::chrono_literals;
using tidewell::StatementLimits;

constexpr char kEndless[] = "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT count(*) FROM n";

class HostileDatabase : public testing_support::DatabaseTest {};

TEST_F(HostileDatabase, runsNoTriggers) {
  make(std::string("CREATE TABLE t (a); CREATE TABLE log (a); INSERT INTO t VALUES ('x');"
                   "CREATE TRIGGER endless AFTER DELETE ON t BEGIN INSERT INTO log ") +
       kEndless + "; END;");
  const StatementLimits limits(sqlite);
  EXPECT_TRUE(sqlite.executeQuery("DELETE FROM t;").has_value());
  EXPECT_TRUE(sqlite.executeQuery("SELECT * FROM t")->empty());
}

TEST_F(HostileDatabase, hasNoViews) {
  make(std::string("CREATE VIEW t AS ") + kEndless);
  const StatementLimits limits(sqlite);
  EXPECT_FALSE(sqlite.executeQuery("SELECT * FROM t").has_value());
}

TEST_F(HostileDatabase, makesNoHugeValues) {
  make("CREATE TABLE t (a, b GENERATED ALWAYS AS (zeroblob(200000000)) VIRTUAL); INSERT INTO t (a) VALUES (1)");
  const StatementLimits limits(sqlite);
  EXPECT_TRUE(sqlite.executeQuery("SELECT length(b || 'x') FROM t")->empty());
  EXPECT_EQ(sqlite.errorCode(), SQLITE_TOOBIG);
}

TEST_F(HostileDatabase, endsWhatTakesTooLong) {
  make("CREATE TABLE t (a)");
  const StatementLimits limits(sqlite, 0ms);
  EXPECT_TRUE(sqlite.executeQuery(kEndless)->empty());
  EXPECT_EQ(sqlite.errorCode(), SQLITE_INTERRUPT);
}

TEST_F(HostileDatabase, isLimitedAsLongAsTheObjectLives) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('x')");
  { const StatementLimits limits(sqlite, 0ms); }
  EXPECT_EQ(sqlite
                .executeQuery("WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n LIMIT 100000) "
                              "SELECT count(*) AS count FROM n")
                ->size(),
            1U);
}

}  // namespace
