// Settings files: permissions, other writers, kills, damage.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "Platform/Linux/settings/SqliteUserDefaults.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Value;
using platform::linux_::SqliteUserDefaults;
using ::testing::IsEmpty;
using ::testing::SizeIs;
namespace fs = std::filesystem;

constexpr char kFile[] = "tidewell/suite.defaults";

class SettingsFile : public ::testing::Test {
 protected:
  mode_t mode(const std::string& below) const {
    struct stat status {};
    return ::stat(folder.path(below).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }
  std::vector<std::string> setAside() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path("tidewell"))) {
      const std::string name = entry.path().filename();
      if (name.find(".damaged-") != std::string::npos && !name.ends_with("-wal")) names.push_back(name);
    }
    return names;
  }

  testing_support::ScratchFolder folder;
  testing_support::FakeLog log;
  SqliteUserDefaults settings{folder.path("tidewell"), "own", log};
};

TEST_F(SettingsFile, isNotMadeByReading) {
  EXPECT_FALSE(settings.suite("suite")->objectForKey("key"));
  settings.suite("suite")->removeObjectForKey("key");
  settings.suite("suite")->synchronize();
  EXPECT_THAT(folder.tree(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SettingsFile, isItsOwnersAlone) {
  settings.suite("suite")->setObject(1, "key");
  EXPECT_EQ(mode("tidewell"), 0700U);
  EXPECT_EQ(mode(kFile), 0600U);
  EXPECT_EQ(mode(std::string(kFile) + "-wal"), 0600U);
}

TEST_F(SettingsFile, hasTheDomainsName) {
  settings.standardUserDefaults()->setObject(1, "key");
  EXPECT_TRUE(folder.exists("tidewell/own.defaults"));
  for (const char* name : {"", ".", "..", "a/b", ".hidden"}) {
    settings.suite(name)->setObject(1, "key");
    EXPECT_FALSE(settings.suite(name)->objectForKey("key")) << name;
  }
  EXPECT_FALSE(settings.suite("..")->synchronize());
}

TEST_F(SettingsFile, showsWhatAnotherProcessWrites) {
  settings.suite("suite")->setObject("before", "key");
  const pid_t child = ::fork();
  if (child == 0) {
    SqliteUserDefaults others(folder.path("tidewell"), "own", log);
    others.suite("suite")->setObject("written by another process", "key");
    ::_exit(0);
  }
  ::waitpid(child, nullptr, 0);
  EXPECT_EQ(settings.suite("suite")->stringForKey("key"), "written by another process");
}

TEST_F(SettingsFile, thatWasDeletedIsEmptyAndCanBeWrittenAgain) {
  settings.suite("suite")->setObject(1, "key");
  fs::remove_all(folder.path("tidewell"));
  EXPECT_FALSE(settings.suite("suite")->objectForKey("key"));
  settings.suite("suite")->setObject(2, "key");
  EXPECT_EQ(settings.suite("suite")->objectForKey("key"), Value(2));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SettingsFile, servesManyThreadsAndProcessesAtOnce) {
  constexpr int kWriters = 4;
  constexpr int kKeys = 100;
  std::vector<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t child = ::fork();
    if (child == 0) {
      SqliteUserDefaults own(folder.path("tidewell"), "own", log);
      for (int key = 0; key < kKeys; ++key) own.suite("suite")->setObject(key, std::to_string(writer * kKeys + key));
      ::_exit(0);
    }
    children.push_back(child);
  }
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kWriters; ++thread) {
    threads.emplace_back([this, thread] {
      for (int key = 0; key < kKeys; ++key) {
        settings.suite("suite")->setObject(key, "thread " + std::to_string(thread * kKeys + key));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const pid_t child : children) ::waitpid(child, nullptr, 0);
  EXPECT_THAT(settings.suite("suite")->dictionaryRepresentation(), SizeIs(2 * kWriters * kKeys));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SettingsFile, losesNothingWhenSeveralProcessesMakeIt) {
  for (int round = 0; round < 20; ++round) {
    std::vector<pid_t> children;
    for (int writer = 0; writer < 6; ++writer) {
      const pid_t child = ::fork();
      if (child == 0) {
        SqliteUserDefaults own(folder.path("tidewell"), "own", log);
        own.suite("suite")->setObject(writer, std::to_string(writer));
        ::_exit(own.suite("suite")->synchronize() ? 0 : 1);
      }
      children.push_back(child);
    }
    for (const pid_t child : children) {
      int status = 1;
      ::waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
    ASSERT_THAT(settings.suite("suite")->dictionaryRepresentation(), SizeIs(6));
    fs::remove_all(folder.path("tidewell"));
  }
}

TEST_F(SettingsFile, isWholeAfterEachOfTwoHundredKillsInMidWrite) {
  // The writer keeps two values equal, and reports its progress through a pipe, so that every kill hits it in mid
  // write.
  const std::string large(20'000, 'x');
  for (int kill = 0; kill < 200; ++kill) {
    int progress[2];
    ASSERT_EQ(::pipe(progress), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      SqliteUserDefaults own(folder.path("tidewell"), "own", log);
      for (int number = 0;; ++number) {
        own.suite("suite")->setObject(Value::Array{Value(number), Value(large), Value(number)}, "pair");
        if (number == kill % 10) [[maybe_unused]]
          const ssize_t told = ::write(progress[1], "x", 1);
      }
    }
    ::close(progress[1]);
    char told = 0;
    ASSERT_EQ(::read(progress[0], &told, 1), 1);
    ::close(progress[0]);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    const auto pair = settings.suite("suite")->arrayForKey("pair");
    ASSERT_TRUE(pair) << "after kill " << kill;
    ASSERT_EQ(pair->at(0), pair->at(2));
  }
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_THAT(setAside(), IsEmpty());
}

TEST_F(SettingsFile, thatIsNoDatabaseIsSetAsideWithALine) {
  folder.file(kFile, "this is no database, and it is long enough to be looked at as one. " + std::string(500, '.'));
  EXPECT_FALSE(settings.suite("suite")->objectForKey("key"));
  settings.suite("suite")->setObject(1, "key");
  EXPECT_EQ(settings.suite("suite")->objectForKey("key"), Value(1));
  ASSERT_THAT(setAside(), SizeIs(1));
  EXPECT_EQ(folder.content("tidewell/" + setAside()[0]).substr(0, 20), "this is no database,");
  ASSERT_THAT(log.lines(), SizeIs(1));
  EXPECT_THAT(log.lines()[0], ::testing::HasSubstr("is damaged"));
}

TEST_F(SettingsFile, thatWasDamagedIsNotLikeOneWithoutTheKeyForACheckedRead) {
  folder.file(kFile, "this is no database, and it is long enough to be looked at as one. " + std::string(500, '.'));
  EXPECT_FALSE(settings.suite("suite")->checkedObjectForKey("key"));
  EXPECT_FALSE(settings.suite("suite")->checkedObjectForKey("key")) << "what it held is lost";
  settings.suite("suite")->setObject(1, "key");
  EXPECT_EQ(*settings.suite("suite")->checkedObjectForKey("key"), Value(1));
}

TEST_F(SettingsFile, thatCanNotBeOpenedIsNotLikeAMissingOneForACheckedRead) {
  EXPECT_TRUE(settings.suite("suite")->checkedObjectForKey("key"));
  folder.file("elsewhere", "keep");
  folder.link(kFile, folder.path("elsewhere"));
  EXPECT_FALSE(settings.suite("suite")->checkedObjectForKey("key"));
  EXPECT_FALSE(settings.suite("..")->checkedObjectForKey("key")) << "no name of a file";
}

TEST_F(SettingsFile, withAValueThatIsNoneIsNotLikeOneWithoutTheKeyForACheckedRead) {
  settings.suite("suite")->setObject(1, "key");
  settings.suite("suite")->synchronize();
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(folder.path(kFile).c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "UPDATE defaults SET value = x'ff'", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  EXPECT_FALSE(settings.suite("suite")->objectForKey("key"));
  EXPECT_FALSE(settings.suite("suite")->checkedObjectForKey("key"));
}

TEST_F(SettingsFile, whosePagesAreDamagedIsSetAsideAndNothingOfItIsLost) {
  for (int key = 0; key < 2000; ++key) settings.suite("suite")->setObject(std::string(100, 'v'), std::to_string(key));
  settings.suite("suite")->synchronize();
  SqliteUserDefaults fresh(folder.path("tidewell"), "own", log);
  std::string content = folder.content(kFile);
  for (std::size_t index = 4096; index < content.size(); ++index) content[index] = '\x5a';
  fs::remove(folder.path(std::string(kFile) + "-wal"));
  fs::remove(folder.path(kFile));
  folder.file(kFile, content);
  EXPECT_FALSE(fresh.suite("suite")->objectForKey("7"));
  fresh.suite("suite")->setObject(1, "key");
  EXPECT_EQ(fresh.suite("suite")->objectForKey("key"), Value(1));
  ASSERT_THAT(setAside(), SizeIs(1));
  EXPECT_EQ(folder.content("tidewell/" + setAside()[0]), content);
}

TEST_F(SettingsFile, damagedAgainIsSetAsideUnderAnotherName) {
  for (int time = 0; time < 3; ++time) {
    fs::remove(folder.path(kFile));
    folder.file(kFile, std::string(5000, static_cast<char>('a' + time)));
    SqliteUserDefaults(folder.path("tidewell"), "own", log).suite("suite")->setObject(time, "key");
  }
  EXPECT_THAT(setAside(), SizeIs(3));
}

class SettingsFileOfAnEarlierVersion : public SettingsFile {
 protected:
  SettingsFileOfAnEarlierVersion() {
    settings.suite("suite")->setObject("text", "kept");
    settings.suite("suite")->setObject(Value::Array(10'000, Value("of many")), "large");
    settings.suite("suite")->synchronize();
    run("CREATE TABLE other (key TEXT NOT NULL PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID;"
        "INSERT INTO other SELECT key, value FROM defaults; DROP TABLE defaults;"
        "ALTER TABLE other RENAME TO defaults;");
  }

  void run(const std::string& sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(folder.path(kFile).c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }
  int indexes() const {
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    sqlite3_open(folder.path(kFile).c_str(), &database);
    sqlite3_prepare_v2(database, "SELECT count(*) FROM sqlite_master WHERE type = 'index'", -1, &statement, nullptr);
    const int count = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int(statement, 0) : -1;
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return count;
  }
  void expectAllThere(SqliteUserDefaults& defaults) {
    EXPECT_EQ(defaults.suite("suite")->objectForKey("kept"), Value("text"));
    EXPECT_EQ(defaults.suite("suite")->objectForKey("large"), Value(Value::Array(10'000, Value("of many"))));
    EXPECT_THAT(setAside(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
  }

  SqliteUserDefaults fresh{folder.path("tidewell"), "own", log};
};

TEST_F(SettingsFileOfAnEarlierVersion, getsAnIndexOfItsKeysWhenItIsOpened) {
  ASSERT_EQ(indexes(), 0);
  expectAllThere(fresh);
  EXPECT_EQ(indexes(), 1);
  fresh.suite("suite")->setObject("other", "kept");
  EXPECT_EQ(fresh.suite("suite")->objectForKey("kept"), Value("other"));
}

TEST_F(SettingsFileOfAnEarlierVersion, isStillTheSameForWhoHasItOpen) {
  EXPECT_EQ(settings.suite("suite")->objectForKey("kept"), Value("text"));
  expectAllThere(fresh);
  settings.suite("suite")->setObject("another", "new");
  EXPECT_EQ(fresh.suite("suite")->objectForKey("new"), Value("another"));
  expectAllThere(settings);
}

TEST_F(SettingsFileOfAnEarlierVersion, servesAsItIsWhileSomebodyWrites) {
  sqlite3* writer = nullptr;
  ASSERT_EQ(sqlite3_open(folder.path(kFile).c_str(), &writer), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(writer, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  expectAllThere(fresh);
  sqlite3_exec(writer, "ROLLBACK", nullptr, nullptr, nullptr);
  EXPECT_EQ(indexes(), 0);
  fresh.suite("suite")->setObject("other", "kept");
  EXPECT_EQ(fresh.suite("suite")->objectForKey("kept"), Value("other"));
  sqlite3_close(writer);
}

TEST_F(SettingsFile, ofAnotherProgramIsNotTaken) {
  folder.folder("tidewell");
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(folder.path(kFile).c_str(), &database), SQLITE_OK);
  sqlite3_exec(database, "CREATE TABLE theirs (x); INSERT INTO theirs VALUES (1)", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  settings.suite("suite")->setObject(1, "key");
  EXPECT_EQ(settings.suite("suite")->objectForKey("key"), Value(1));
  EXPECT_THAT(setAside(), SizeIs(1));
}

TEST_F(SettingsFile, thatIsALinkIsNotFollowed) {
  folder.file("elsewhere", "keep");
  folder.link(kFile, folder.path("elsewhere"));
  settings.suite("suite")->setObject(1, "key");
  EXPECT_EQ(folder.content("elsewhere"), "keep");
  EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(SettingsFile, thatCanNotBeWrittenIsLoggedOnce) {
  folder.file("tidewell", "a file where the folder should be");
  settings.suite("suite")->setObject(1, "key");
  settings.suite("suite")->setObject(2, "key");
  EXPECT_FALSE(settings.suite("suite")->objectForKey("key"));
  EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(SettingsFile, liesInTheConfigurationFolder) {
  ::setenv("XDG_CONFIG_HOME", "/somewhere", 1);
  EXPECT_EQ(SqliteUserDefaults::folderFromEnvironment(), "/somewhere/tidewell");
  ::setenv("XDG_CONFIG_HOME", "relative", 1);
  ::setenv("HOME", "/home/ann", 1);
  EXPECT_EQ(SqliteUserDefaults::folderFromEnvironment(), "/home/ann/.config/tidewell");
}

}  // namespace
