// Statements on databases, under a grant.

#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "Worker/sandbox/Sandbox.h"
#include "tests/support/Databases.h"
#include "tests/support/OrdinaryUser.h"
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
  const std::string label = "com.emberlinestudio.com.TidewellWorker.task";
  EXPECT_THAT(platform.dispatch.labels(), ElementsAre(label, label, label));
}

TEST_F(SandboxSql, runsOnItsQueueAndNotOnTheMainThread) {
  const testing_support::StatementJournal statements(platform.journal);
  Sandbox::runSql_onfile("DELETE FROM t;", "~/folder/db");
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 0U);
  platform.dispatch.runUntilIdle();
  query("~/folder/db");
  EXPECT_THAT(platform.journal.placesOf("sql "), ElementsAre("com.emberlinestudio.com.TidewellWorker.task",
                                                             "com.emberlinestudio.com.TidewellWorker.task"));
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

TEST_F(SandboxSql, onALockedDatabaseIsEmptyAndChangesNothing) {
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(home("folder/db").c_str(), &other), SQLITE_OK);
  sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
  EXPECT_THAT(query("~/folder/db"), IsEmpty());
  run("DELETE FROM t;", "~/folder/db");
  sqlite3_close(other);
  EXPECT_THAT(query("~/folder/db"), ElementsAre("1", "2"));
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(SandboxSql, onAReadOnlyDatabaseChangesNothing) {
  ::chmod(home("folder/db").c_str(), 0444);
  ::chmod(home("folder").c_str(), 0555);
  {
    const testing_support::OrdinaryUser user(platform.home.path());
    run("DELETE FROM t;", "~/folder/db");
    EXPECT_THAT(query("~/folder/db"), ElementsAre("1", "2"));
  }
  ::chmod(home("folder").c_str(), 0755);
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

/// Makes a database whose interrupted transaction names another file as its super-journal.
void makeDatabaseWithHostileJournal(const std::string& folder, const std::string& target) {
  sqlite3* database = nullptr;
  const std::string original = folder + "/original";
  ASSERT_EQ(sqlite3_open(original.c_str(), &database), SQLITE_OK);
  sqlite3_exec(
      database,
      "CREATE TABLE t (a, b); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 3000)"
      "INSERT INTO t SELECT i, hex(zeroblob(250)) FROM n; PRAGMA cache_size = 2; BEGIN; UPDATE t SET b = 'y' || b;",
      nullptr, nullptr, nullptr);
  std::filesystem::copy_file(original, folder + "/hostile");
  std::filesystem::copy_file(original + "-journal", folder + "/hostile-journal");
  sqlite3_close(database);
  const auto bigEndian = [](std::uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xff);
    return bytes;
  };
  std::uint32_t sum = 0;
  for (const char character : target) sum += static_cast<unsigned char>(character);
  // A journal ends with the number of the page that is never used, the super-journal's name, the name's length and
  // checksum, and a magic number.
  std::ofstream(folder + "/hostile-journal", std::ios::app | std::ios::binary)
      << bigEndian(0x40000000 / 4096 + 1) << target << bigEndian(static_cast<std::uint32_t>(target.size()))
      << bigEndian(sum) << "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
}

TEST_F(SandboxSql, doesNotRemoveAFileThatACraftedJournalNames) {
  const std::string letter = platform.elsewhere.file("letter", "dear ann");
  makeDatabaseWithHostileJournal(home("folder"), letter);
  query("~/folder/hostile");
  run("DELETE FROM t;", "~/folder/hostile");
  EXPECT_EQ(platform.elsewhere.content("letter"), "dear ann");
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
