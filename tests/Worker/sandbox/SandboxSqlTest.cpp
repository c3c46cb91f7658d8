// Statements on databases, under a grant.

#include <sys/stat.h>

#include "Worker/sandbox/Sandbox.h"
#include "tests/support/Databases.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::GrantedHomeTest;
using testing_support::runStatements;
using testing_support::valuesOf;
using tidewell::Sandbox;

class SandboxSql : public GrantedHomeTest {
 protected:
  SandboxSql() {
    runStatements(home("folder/db"), "CREATE TABLE t (a TEXT, b TEXT); INSERT INTO t VALUES ('1', 'x'), ('2', 'y');");
  }
  std::vector<std::string> query(const std::string& path, const std::string& sql = "SELECT a FROM t;") {
    std::vector<std::string> values;
    const auto rows = Sandbox::returnArrayFromSql_onfile(sql, path);
    if (!rows) return {"absent"};
    for (const tidewell::Row row : *rows) values.emplace_back(row.stringForKey(row.columnNames()[0]).value_or("?"));
    return values;
  }
  void run(const std::string& sql, const std::string& path) {
    Sandbox::runSql_onfile(sql, path);
    platform.dispatch.runUntilIdle();
  }
};

TEST_F(SandboxSql, queryOfAnAbsentPathIsAbsent) {
  EXPECT_FALSE(Sandbox::returnArrayFromSql_onfile("SELECT 1;", std::nullopt));
  Sandbox::runSql_onfile("SELECT 1;", std::nullopt);
  EXPECT_THAT(platform.dispatch.labels(), IsEmpty());
}

TEST_F(SandboxSql, queryOfAMissingFileIsEmptyAndMakesNone) {
  EXPECT_THAT(query("~/folder/missing"), IsEmpty());
  EXPECT_FALSE(platform.home.exists("folder/missing"));
}

TEST_F(SandboxSql, queryGivesRowsByTheirColumnsInOrder) {
  const auto rows = Sandbox::returnArrayFromSql_onfile("SELECT a, b FROM t ORDER BY a DESC;", "~/folder/db");
  ASSERT_TRUE(rows);
  ASSERT_EQ(rows->size(), 2U);
  EXPECT_THAT((*rows)[0].columnNames(), ElementsAre("a", "b"));
  EXPECT_EQ((*rows)[0].stringForKey("a"), "2");
  EXPECT_EQ((*rows)[1].stringForKey("b"), "x");
}

TEST_F(SandboxSql, statementRunsAfterTheCallHasReturned) {
  Sandbox::runSql_onfile("DELETE FROM t;", "~/folder/db");
  EXPECT_THAT(query("~/folder/db"), SizeIs(2));
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(query("~/folder/db"), IsEmpty());
  EXPECT_THAT(platform.dispatch.labels(), ::testing::Each("com.emberlinestudio.com.TidewellWorker.task"));
}

TEST_F(SandboxSql, statementOnAMissingFileMakesNone) {
  platform.home.folder("empty");
  run("DELETE FROM t;", "~/empty/db");
  EXPECT_THAT(platform.home.tree("empty"), IsEmpty());
}

TEST_F(SandboxSql, thatFailsChangesNothingAndSaysNothing) {
  run("DELETE FROM missing;", "~/folder/db");
  run("not sql at all", "~/folder/db");
  run("DELETE FROM t WHERE a IN ('it's');", "~/folder/db");
  EXPECT_THAT(query("~/folder/db"), ElementsAre("1", "2"));
  EXPECT_THAT(query("~/folder/db", "SELECT nothing FROM t;"), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(SandboxSql, takesTheFirstStatementOnly) {
  run("SELECT 1; DELETE FROM t;", "~/folder/db");
  EXPECT_THAT(query("~/folder/db"), SizeIs(2));
}

TEST_F(SandboxSql, onFilesThatAreNoDatabasesIsEmpty) {
  platform.home.file("folder/text", std::string(5000, 'x'));
  platform.home.file("folder/empty", "");
  platform.home.folder("folder/folder");
  for (const char* path : {"~/folder/text", "~/folder/empty", "~/folder/folder"}) {
    EXPECT_THAT(query(path), IsEmpty()) << path;
    run("DELETE FROM t;", path);
  }
  EXPECT_EQ(platform.home.content("folder/text"), std::string(5000, 'x'));
}

TEST_F(SandboxSql, deniedLogsOneLineAndChangesNothing) {
  platform.own().clear();
  run("DELETE FROM t;", "~/folder/db");
  EXPECT_THAT(query("~/folder/db"), IsEmpty());
  EXPECT_THAT(platform.log.lines(), ElementsAre("Sandbox has denied access to " + home("folder/db"),
                                                "Sandbox has denied access to " + home("folder/db")));
  EXPECT_THAT(valuesOf(home("folder/db"), "SELECT a FROM t"), SizeIs(2));
}

TEST_F(SandboxSql, doesNotReachADatabaseOutsideThroughALink) {
  runStatements(platform.elsewhere.path("db"), "CREATE TABLE t (a); INSERT INTO t VALUES ('precious');");
  platform.home.link("folder/link", platform.elsewhere.path("db"));
  platform.home.link("out", platform.elsewhere.path());
  for (const char* path : {"~/folder/link", "~/out/db"}) {
    EXPECT_THAT(query(path), IsEmpty()) << path;
    run("DELETE FROM t;", path);
  }
  EXPECT_THAT(valuesOf(platform.elsewhere.path("db"), "SELECT a FROM t"), ElementsAre("precious"));
}

TEST_F(SandboxSql, reachesADatabaseInsideThroughALink) {
  platform.home.link("link", home("folder/db"));
  EXPECT_THAT(query("~/link"), ElementsAre("1", "2"));
}

TEST_F(SandboxSql, leavesNoCompanionFilesBehind) {
  run("DELETE FROM t;", "~/folder/db");
  EXPECT_THAT(platform.home.tree("folder"), SizeIs(1));
}

TEST_F(SandboxSql, copesWithAStatementOfAHundredThousandValues) {
  std::string list;
  for (int number = 0; number < 100'000; ++number) list += (number > 0 ? "','" : "") + std::to_string(number);
  run("DELETE FROM t WHERE a IN ('" + list + "');", "~/folder/db");
  EXPECT_THAT(query("~/folder/db"), IsEmpty());
}

}  // namespace
