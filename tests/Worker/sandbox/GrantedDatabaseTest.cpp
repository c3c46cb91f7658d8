// Databases of which a part stays: what goes is gone from the disk, and nothing else is touched.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>

#include "Worker/Identity.h"
#include "Worker/database/DatabaseImage.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "tests/support/Databases.h"
#include "tests/support/HeldFile.h"
#include "tests/support/OwnMounts.h"
#include "tests/support/TestPlatform.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using testing_support::HeldFile;
using testing_support::runStatements;
using testing_support::valuesOf;
using tidewell::GrantedFiles;
using tidewell::Left;
using tidewell::Outcome;

constexpr char kMark[] = "SITEMARK";
constexpr char kSchema[] = "CREATE TABLE t (a);";
constexpr char kRows[] =
    "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n LIMIT 400)"
    "INSERT INTO t SELECT 'SITEMARK' || x FROM n;"
    "INSERT INTO t VALUES ('kept');";

/// A connection of another program.
class OtherProgram {
 public:
  explicit OtherProgram(const std::string& path) { sqlite3_open(path.c_str(), &db_); }
  ~OtherProgram() { end(); }
  void run(const std::string& statements) {
    EXPECT_EQ(sqlite3_exec(db_, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db_);
  }
  /// Ends as if killed: what is in its log stays there.
  void end() {
    if (db_ == nullptr) return;
    sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    int isOn = 1;
    sqlite3_file_control(db_, "main", SQLITE_FCNTL_PERSIST_WAL, &isOn);
    sqlite3_close(db_);
    db_ = nullptr;
  }

 private:
  sqlite3* db_ = nullptr;
};

class GrantedDatabase : public ::testing::TestWithParam<bool> {
 protected:
  GrantedDatabase() {
    platform.shared().insert_or_assign("userFolder", platform.home.path());
    platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, GetParam());
    platform.home.folder("data");
    platform.grant(platform.home.path("data"));
  }

  std::string path(const std::string& suffix = "") const { return platform.home.path("data/db" + suffix); }
  void make(const std::string& pragma = "") { runStatements(path(), pragma + kSchema + kRows); }
  /// A hole at the end makes the database too large to be held in memory. Its header does not say how long it is.
  void growBeyondMemory() {
    std::filesystem::resize_file(path(), tidewell::DatabaseImage::kLargest + (1 << 20));
    std::fstream file(path(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(28).write("\0\0\0\0", 4);
  }

  static Outcome deleteMarks() {
    return GrantedFiles::changeDatabase({"DELETE FROM t WHERE a LIKE 'SITEMARK%';"}, "~/data/db");
  }
  void expectCleaned(const Outcome& outcome) {
    EXPECT_EQ(outcome.left, Left::kNothing);
    EXPECT_THAT(platform.home.tree("data"), ElementsAre(StartsWith("db: SQLite format 3")));
    EXPECT_FALSE(HeldFile(path()).holds(kMark));
    EXPECT_THAT(valuesOf(path(), "SELECT a FROM t"), ElementsAre("kept"));
  }

  testing_support::TestPlatform platform;
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutOverwriting, GrantedDatabase, ::testing::Bool(),
                         [](const auto& tested) { return tested.param ? "overwriting" : "plain"; });

TEST_P(GrantedDatabase, holdsNothingOfWhatWasDeletedFromIt) {
  make();
  const HeldFile before(path());
  expectCleaned(deleteMarks());
  EXPECT_EQ(before.holds(kMark), !GetParam());
}

TEST_P(GrantedDatabase, holdsNothingOfWhatTheBrowserItselfHasDeleted) {
  make();
  runStatements(path(), "PRAGMA secure_delete = OFF; DELETE FROM t WHERE a <> 'kept';");
  ASSERT_TRUE(HeldFile(path()).holds(kMark));
  expectCleaned(deleteMarks());
}

TEST_P(GrantedDatabase, losesNothingThatIsOnlyInItsLog) {
  make("PRAGMA journal_mode = WAL;");
  OtherProgram browser(path());
  browser.run("INSERT INTO t VALUES ('late'); INSERT INTO t VALUES ('SITEMARK late');");
  browser.end();
  const HeldFile log(path("-wal"));
  ASSERT_TRUE(log.holds(kMark));
  EXPECT_EQ(deleteMarks().left, Left::kNothing);
  EXPECT_FALSE(platform.home.exists("data/db-wal"));
  EXPECT_EQ(log.holds(kMark), !GetParam());
  EXPECT_THAT(valuesOf(path(), "SELECT a FROM t"), ElementsAre("kept", "late"));
  EXPECT_THAT(valuesOf(path(), "PRAGMA journal_mode"), ElementsAre("wal"));
}

TEST_P(GrantedDatabase, losesNothingThatIsOnlyInItsLogWhenNothingGoes) {
  make("PRAGMA journal_mode = WAL;");
  expectCleaned(deleteMarks());
  OtherProgram browser(path());
  browser.run("INSERT INTO t VALUES ('late');");
  browser.end();
  EXPECT_EQ(deleteMarks().left, Left::kNothing);
  EXPECT_FALSE(platform.home.exists("data/db-wal"));
  EXPECT_THAT(valuesOf(path(), "SELECT a FROM t"), ElementsAre("kept", "late"));
}

TEST_P(GrantedDatabase, isRolledBackFirstWhenTheBrowserWasCutOff) {
  make();
  const std::string copy = platform.home.path("copy");
  {
    OtherProgram browser(path());
    browser.run(
        "PRAGMA cache_size = 1; PRAGMA cache_spill = 1; BEGIN; UPDATE t SET a = 'SITEMARK half done';"
        "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n LIMIT 9000)"
        "INSERT INTO t SELECT 'SITEMARK' || x FROM n;");
    std::filesystem::copy(path(), copy);
    std::filesystem::copy(path("-journal"), copy + "-journal");
  }
  std::filesystem::rename(copy, path());
  std::filesystem::rename(copy + "-journal", path("-journal"));
  const HeldFile journal(path("-journal"));
  ASSERT_TRUE(journal.holds(kMark));
  expectCleaned(deleteMarks());
  EXPECT_EQ(journal.holds(kMark), !GetParam());
}

TEST_P(GrantedDatabase, isNotWrittenAgainWhenNothingGoes) {
  make();
  expectCleaned(deleteMarks());
  const auto before = HeldFile(path()).status();
  expectCleaned(deleteMarks());
  const auto after = HeldFile(path()).status();
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}

TEST_P(GrantedDatabase, thatIsTooLargeForMemoryIsChangedInPlace) {
  for (const char* pragma : {"", "PRAGMA journal_mode = WAL;"}) {
    make(pragma);
    growBeyondMemory();
    const auto before = HeldFile(path()).status();
    EXPECT_EQ(deleteMarks().left, GetParam() ? Left::kNotOverwritten : Left::kNothing) << pragma;
    EXPECT_EQ(HeldFile(path()).status().st_ino, before.st_ino);
    EXPECT_FALSE(HeldFile(path()).holds(kMark)) << pragma;
    EXPECT_FALSE(platform.home.exists("data/db-wal"));
    EXPECT_THAT(valuesOf(path(), "SELECT a FROM t"), ElementsAre("kept"));
    std::filesystem::remove(path());
  }
}

TEST_P(GrantedDatabase, withOtherNamesIsWrittenAnewAndStaysUnderThem) {
  make();
  std::filesystem::create_hard_link(path(), platform.elsewhere.path("backup"));
  const std::string backup = platform.elsewhere.content("backup");
  expectCleaned(deleteMarks());
  EXPECT_EQ(platform.elsewhere.content("backup"), backup);
}

TEST_P(GrantedDatabase, leavesAFileThatIsLinkedAsACompanion) {
  const std::string thesis = platform.elsewhere.file("thesis", std::string(5000, 't'));
  for (const char* companion : {"-wal", "-shm", "-journal"}) {
    for (const char* pragma : {"", "PRAGMA journal_mode = WAL;"}) {
      make(pragma);
      std::filesystem::create_hard_link(thesis, path(companion));
      expectCleaned(deleteMarks());
      EXPECT_EQ(platform.elsewhere.content("thesis"), std::string(5000, 't')) << companion << pragma;
      std::filesystem::remove(path());
    }
  }
}

TEST_P(GrantedDatabase, isLeftWhenACompanionIsNoRegularFile) {
  platform.elsewhere.file("thesis", "mine");
  make();
  platform.home.link("data/db-wal", platform.elsewhere.path("thesis"));
  EXPECT_EQ(deleteMarks().left, Left::kFailed);
  EXPECT_EQ(platform.elsewhere.content("thesis"), "mine");
  EXPECT_TRUE(HeldFile(path()).holds(kMark));
}

TEST_P(GrantedDatabase, isLeftWhenItIsALink) {
  runStatements(platform.home.path("data/History"), std::string(kSchema) + kRows);
  const std::string history = platform.home.content("data/History");
  platform.home.link("data/db", "History");
  EXPECT_EQ(deleteMarks().left, Left::kFailed);
  EXPECT_EQ(platform.home.content("data/History"), history);
}

TEST_P(GrantedDatabase, isLeftWhileAnotherProgramUsesIt) {
  for (const char* pragma : {"", "PRAGMA journal_mode = WAL;"}) {
    make(pragma);
    OtherProgram browser(path());
    browser.run("BEGIN; SELECT * FROM t;");
    EXPECT_EQ(deleteMarks().left, Left::kInUse) << pragma;
    browser.run("INSERT INTO t VALUES ('later'); COMMIT;");
    EXPECT_THAT(valuesOf(path(), "SELECT count(*) FROM t"), ElementsAre("402"));
    browser.end();
    std::filesystem::remove_all(platform.home.path("data"));
    platform.home.folder("data");
  }
}

TEST_P(GrantedDatabase, isLeftWhenItCanNotBeRead) {
  platform.home.file("data/db",
                     "no database at all, but long enough to look like one of at least a hundred bytes. "
                     "And some more, and some more.");
  EXPECT_EQ(deleteMarks().left, Left::kNotReadable);
  EXPECT_THAT(platform.home.tree("data"), ElementsAre(StartsWith("db: no database")));
}

TEST_P(GrantedDatabase, withoutTheTableOrWithoutAnythingIsLeftInPeace) {
  runStatements(path(), "CREATE TABLE other (a);");
  EXPECT_EQ(deleteMarks().left, Left::kNothing);
  std::filesystem::resize_file(path(), 0);
  EXPECT_EQ(deleteMarks().left, Left::kNothing);
  EXPECT_THAT(platform.home.tree("data"), ElementsAre("db: "));
  std::filesystem::remove_all(platform.home.path("data/db"));
  EXPECT_EQ(deleteMarks().left, Left::kNothing);
  EXPECT_THAT(platform.home.tree("data"), IsEmpty());
}

TEST_P(GrantedDatabase, runsNoTriggerOfAHostileSchema) {
  make("CREATE TABLE caught (a);");
  runStatements(path(), "CREATE TRIGGER trap AFTER DELETE ON t BEGIN INSERT INTO caught VALUES ('x'); END;");
  expectCleaned(deleteMarks());
  EXPECT_THAT(valuesOf(path(), "SELECT * FROM caught"), IsEmpty());
}

TEST_P(GrantedDatabase, isNotReadThroughAViewOfAHostileSchema) {
  make();
  runStatements(path(), "ALTER TABLE t RENAME TO other; CREATE VIEW t AS SELECT a FROM other;");
  tidewell::Left left{};
  EXPECT_FALSE(GrantedFiles::rowsOf("SELECT a FROM t", "~/data/db", left).has_value());
}

TEST_P(GrantedDatabase, thatIsMountedBelowTheGrantIsLeft) {
  runStatements(platform.elsewhere.path("db"), std::string(kSchema) + kRows);
  const std::string theirs = platform.elsewhere.content("db");
  platform.home.file("data/db");
  ASSERT_TRUE(testing_support::withOwnMounts([&] {
    ASSERT_TRUE(testing_support::bindMount(platform.elsewhere.path("db"), path()));
    EXPECT_EQ(deleteMarks().left, Left::kOnOtherMount);
  }));
  EXPECT_EQ(platform.elsewhere.content("db"), theirs);
}

TEST_P(GrantedDatabase, isReadWithoutBeingChanged) {
  make("PRAGMA journal_mode = WAL;");
  const std::string before = platform.home.content("data/db");
  tidewell::Left left{};
  EXPECT_EQ(GrantedFiles::rowsOf("SELECT a FROM t", "~/data/db", left).value().size(), 401U);
  EXPECT_EQ(platform.home.content("data/db"), before);
  EXPECT_FALSE(platform.home.exists("data/db-shm"));
}

TEST_P(GrantedDatabase, isOneItemWithItsCompanions) {
  OtherProgram browser(path());
  browser.run(std::string("PRAGMA journal_mode = WAL;") + kSchema + kRows);
  browser.end();
  ASSERT_TRUE(platform.home.exists("data/db-wal"));
  const Outcome outcome = GrantedFiles::changeDatabase({"DELETE FROM t WHERE a <> 'kept';"}, path());
  EXPECT_FALSE(platform.home.exists("data/db-wal"));
  EXPECT_EQ(outcome.left, Left::kNothing);
  EXPECT_EQ(outcome.removed, 1U);
}

}  // namespace
