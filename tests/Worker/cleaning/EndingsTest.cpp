// Every ending is cleaned: what was seen to run is owed a cleaning until it has had one, whatever happens to the
// worker.

#include "tests/support/EndingsTest.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "Worker/cleaning/History.h"
#include "Worker/cleaning/OwedCleanings.h"

namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::StartsWith;
using testing_support::runStatements;

/// Another program that holds a database of SQLite until it lets it go.
class OtherProgram {
 public:
  explicit OtherProgram(const std::string& database) {
    std::array<int, 2> told{};
    std::array<int, 2> end{};
    EXPECT_EQ(::pipe2(told.data(), O_CLOEXEC) + ::pipe2(end.data(), O_CLOEXEC), 0);
    process_ = ::fork();
    if (process_ == 0) {
      ::close(end[1]);
      struct flock lock {};
      lock.l_type = F_WRLCK;
      lock.l_whence = SEEK_SET;
      const int file = ::open(database.c_str(), O_RDWR | O_CLOEXEC);
      char has = ::fcntl(file, F_SETLK, &lock) == 0 ? 1 : 0;
      if (::write(told[1], &has, 1) == 1) [[maybe_unused]]
        const ssize_t ended = ::read(end[0], &has, 1);
      ::_exit(0);
    }
    ::close(told[1]);
    ::close(end[0]);
    end_ = end[1];
    char has = 0;
    EXPECT_EQ(::read(told[0], &has, 1), 1);
    EXPECT_EQ(has, 1);
    ::close(told[0]);
  }
  ~OtherProgram() { letsGo(); }
  OtherProgram(const OtherProgram&) = delete;
  OtherProgram& operator=(const OtherProgram&) = delete;

  int process() const { return process_; }
  void letsGo() const {
    if (end_ < 0) return;
    ::close(std::exchange(end_, -1));
    ::waitpid(process_, nullptr, 0);
  }

 private:
  pid_t process_ = 0;
  mutable int end_ = -1;
};

class Endings : public testing_support::EndingsTest {};

TEST_F(Endings, areOwedACleaningFromTheBrowsersStartOnWhichIsOnTheDisk) {
  EXPECT_FALSE(isOwed());
  starts();
  EXPECT_TRUE(isOwed());
  const auto steps = platform.journal.entries();
  ASSERT_GE(steps.size(), 2U);
  EXPECT_EQ(steps.back(), "synchronize");
  EXPECT_THAT(steps[steps.size() - 2], StartsWith("set owedCleaning "));
}

TEST_F(Endings, areNoLongerOwedWhenTheSecondRunIsOver) {
  starts();
  quits();
  platform.dispatch.advance(7s);
  EXPECT_TRUE(isClean());
  EXPECT_TRUE(isOwed());
  platform.dispatch.advance(1s);
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, areCleanedWhenTheBrowserEndedWithTheWorker) {
  starts();
  platform.workspace.running.clear();
  workerStartsAgain();
  EXPECT_TRUE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, areCleanedWhenTheWorkerWasKilledBetweenTheRuns) {
  starts();
  quits();
  platform.dispatch.runUntilIdle();
  platform.home.file(kCookies);  // the browser wrote on its way down
  workerStartsAgain();
  EXPECT_TRUE(isClean());
}

TEST_F(Endings, ofABrowserThatStillRunsAreLeftToItsQuit) {
  starts();
  workerStartsAgain();
  EXPECT_FALSE(isClean());
  EXPECT_TRUE(isOwed());
  quits();
  platform.dispatch.advance(60s);
  EXPECT_TRUE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, ofABrowserThatIsNotEnabledAreNotOwed) {
  enable({});
  starts();
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, areNotOwedAnyMoreWhenTheBrowserWasDisabled) {
  starts();
  enable({});
  platform.workspace.running.clear();
  workerStartsAgain();
  EXPECT_FALSE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, areOwedWhenABrowserIsEnabledWhileItRuns) {
  enable({});
  starts();
  enable({kChromium});
  platform.workspace.settingsChanged();
  EXPECT_TRUE(isOwed());
  enable({});
  platform.workspace.settingsChanged();
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, countOnTheMachineWhereTheBrowserRan) {
  starts();
  platform.workspace.running.clear();
  platform.system.machine = "another-machine";
  workerStartsAgain();
  EXPECT_FALSE(isClean());
  platform.system.machine = "this-machine";
  workerStartsAgain();
  EXPECT_TRUE(isClean());
}

TEST_F(Endings, stayOwedWhenTheBrowserIsBackBeforeTheSecondRun) {
  starts();
  quits();
  platform.dispatch.advance(4s);
  starts();
  platform.dispatch.advance(60s);
  EXPECT_TRUE(isOwed());
}

TEST_F(Endings, areNotNotifiedOfWhenTheBrowserIsBack) {
  platform.shared().insert_or_assign("displayNotifications", true);
  starts();
  quits();
  platform.dispatch.advance(4s);
  starts();
  platform.dispatch.advance(60s);
  EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());
}

TEST_F(Endings, stayOwedWhenAStoreWasInUseInBothRuns) {
  const std::string index = ".config/chromium/Default/WebStorage/QuotaManager";
  runStatements(home(index),
                "CREATE TABLE buckets (id INTEGER, storage_key TEXT);"
                "INSERT INTO buckets VALUES (1, 'chrome-extension://a/'), (2, 'https://visited.example/');");
  starts();
  sqlite3* holder = nullptr;
  ASSERT_EQ(sqlite3_open(home(index).c_str(), &holder), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  quits();
  platform.dispatch.advance(60s);
  EXPECT_TRUE(isOwed());
  sqlite3_close(holder);
  workerStartsAgain();
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, areMadeGoodWhenWhoHeldAStoreEnds) {
  const OtherProgram other(fillIndex());
  starts();
  quits();
  platform.dispatch.advance(60s);
  EXPECT_TRUE(isOwed());
  EXPECT_THAT(platform.workspace.watched(), ElementsAre(other.process()));
  other.letsGo();
  EXPECT_TRUE(isOwed());
  platform.workspace.end(other.process());
  platform.dispatch.runUntilIdle();
  EXPECT_FALSE(isOwed());
  EXPECT_THAT(platform.workspace.watched(), IsEmpty());
}

TEST_F(Endings, areTriedAgainABoundedNumberOfTimes) {
  const OtherProgram other(fillIndex());
  quits();
  platform.dispatch.advance(60s);
  int tries = 0;
  for (; tries < 100 && !platform.workspace.watched().empty(); ++tries) {
    platform.workspace.end(other.process());
    platform.dispatch.runUntilIdle();
  }
  EXPECT_EQ(tries, 10);
  EXPECT_TRUE(isOwed());
  quits();
  platform.dispatch.advance(60s);
  EXPECT_THAT(platform.workspace.watched(), ElementsAre(other.process()));
}

TEST_F(Endings, areNotTriedAgainForABrowserThatIsNoLongerEnabled) {
  const OtherProgram other(fillIndex());
  quits();
  platform.dispatch.advance(60s);
  other.letsGo();
  enable({});
  platform.workspace.end(other.process());
  platform.dispatch.runUntilIdle();
  EXPECT_TRUE(isOwed());
}

TEST_F(Endings, onAHomeWithALibraryAreNotNoted) {
  platform.home.folder("Library/Preferences");
  starts();
  sessionEnds();
  EXPECT_TRUE(hasEnded);
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, thatTookTwoGoesAreReportedSo) {
  starts();
  platform.workspace.running.clear();
  const auto begun = std::chrono::system_clock::now();
  tidewell::OwedCleanings::runBegins(browser("Chromium"));  // and the worker is killed
  workerStartsAgain();
  EXPECT_TRUE(isClean());
  const auto reports = tidewell::History::reportsIn(platform.own().at("history"));
  ASSERT_EQ(reports.size(), 1U);
  ASSERT_EQ(reports[0].runs.size(), 2U);
  EXPECT_GE(reports[0].runs[0].begun, begun);
  EXPECT_EQ(reports[0].runs[0].ended, tidewell::Report::Run::kCutOff);
  EXPECT_GE(reports[0].runs[1].ended, reports[0].runs[1].begun);
  EXPECT_TRUE(reports[0].isDone());
}

TEST_F(Endings, thatTookOneGoAreReportedSo) {
  for (int time = 0; time < 2; ++time) {
    starts();
    quits();
    platform.dispatch.advance(60s);
  }
  const auto reports = tidewell::History::reportsIn(platform.own().at("history"));
  ASSERT_EQ(reports.size(), 2U);
  for (const auto& report : reports) {
    ASSERT_EQ(report.runs.size(), 2U);
    for (const auto& run : report.runs) EXPECT_NE(run.ended, tidewell::Report::Run::kCutOff);
  }
}

TEST_F(Endings, stayOwedWhileItCanNotBeReadWhichBrowsersAreEnabled) {
  platform.userDefaults.unreadable.insert("enabledBrowsers");
  starts();
  EXPECT_TRUE(isOwed());
  platform.workspace.running.clear();
  workerStartsAgain();
  EXPECT_TRUE(isOwed());
  EXPECT_FALSE(isClean());
  platform.userDefaults.unreadable.clear();
  workerStartsAgain();
  EXPECT_TRUE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, stayOwedWhenTheBrowserWasNotedAfterTheRunHadBegun) {
  starts();
  tidewell::OwedCleanings::settle(browser("Chromium"), std::chrono::system_clock::now() - 1h);
  EXPECT_TRUE(isOwed());
  tidewell::OwedCleanings::settle(browser("Chromium"), std::chrono::system_clock::now() + 1h);
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, stayOwedWhenTheBrowserIsCleanedWhileItRuns) {
  starts();
  EXPECT_FALSE(worker->cleanNow(kChromium, tidewell::IfRunning::kIsCleaned, nullptr));
  platform.dispatch.advance(8s);
  EXPECT_TRUE(isClean());
  EXPECT_TRUE(isOwed());
  platform.home.file(kCookies);
  platform.workspace.running.clear();  // together with the worker
  workerStartsAgain();
  EXPECT_TRUE(isClean());
  EXPECT_FALSE(isOwed());
}

TEST_F(Endings, ofABrowserThatStillRunsBeginNoRun) {
  starts();
  workerStartsAgain();
  platform.dispatch.advance(60s);
  EXPECT_THAT(platform.log.records(), IsEmpty());
}

}  // namespace
