// What a cleaning tells of itself: all that it did, all that it could not do and why, and nothing of a site.

#include <sqlite3.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "Worker/Identity.h"
#include "Worker/cleaning/History.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;
using testing_support::runStatements;
using tidewell::Cause;
using tidewell::Left;
using tidewell::Outcome;
using tidewell::Report;
using tidewell::StoreGroup;
using tidewell::StoreReport;

constexpr char kChromium[] = "org.chromium.Chromium";
constexpr char kProfile[] = ".config/chromium/Default/";

StoreReport store(std::string name, Outcome outcome, StoreGroup group = StoreGroup::kCookies) {
  return {"/profile", std::move(name), group, outcome};
}

class Reports : public LinuxHomeTest {
 protected:
  Reports() {
    enable({kChromium});
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(std::string(kProfile) + "Preferences", "{}");
    platform.grant(home(".config/chromium"));
    platform.home.folder(".cache/chromium/Default/Cache");
    platform.grant(home(".cache/chromium"));
  }

  std::vector<Report> history() {
    const auto found = platform.own().find(tidewell::kHistoryKey);
    return found != platform.own().end() ? tidewell::History::reportsIn(found->second) : std::vector<Report>();
  }
  Report last() {
    const std::vector<Report> reports = history();
    return reports.empty() ? Report() : reports.back();
  }
  Report afterAQuit() {
    quit("Chromium", {{"chromium"}});
    return last();
  }
  static Outcome outcomeOf(const Report& report, const std::string& name) {
    for (const StoreReport& store : report.stores) {
      if (store.store == name) return store.outcome;
    }
    return {};
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Reports, tellHowMuchHasGoneAndOfWhichKind) {
  platform.home.file(std::string(kProfile) + "Cookies", std::string(3000, 'c'));
  platform.home.file(std::string(kProfile) + "IndexedDB/https_a_0/1", std::string(500, 'd'));
  platform.home.file(".cache/chromium/Default/Cache/data_0", std::string(100'000, 'x'));
  const Report report = afterAQuit();
  EXPECT_EQ(report.browser, kChromium);
  EXPECT_EQ(report.cause, Cause::kQuit);
  EXPECT_THAT(report.runs, SizeIs(2));
  EXPECT_TRUE(report.isDone());
  EXPECT_EQ(report.sum(StoreGroup::kCookies), (Outcome{Left::kNothing, 1, 3000}));
  EXPECT_EQ(report.sum(StoreGroup::kSiteStorage), (Outcome{Left::kNothing, 2, 500}));  // with the folder
  EXPECT_EQ(report.sum(StoreGroup::kCaches).bytes, 100'000U);
}

TEST_F(Reports, areOfNothingWhereNothingWasThere) {
  std::filesystem::remove_all(home(".cache/chromium/Default"));
  const Report report = afterAQuit();
  EXPECT_TRUE(report.isDone());
  EXPECT_THAT(report.stores, IsEmpty());
}

TEST_F(Reports, tellOfAFolderThatWasNotAllowedOnce) {
  platform.own().clear();
  platform.grant(home(".cache/chromium"));
  EXPECT_THAT(afterAQuit().notAllowed(), ElementsAre(home(".config/chromium")));
}

TEST_F(Reports, tellOfAStoreInUse) {
  const std::string index = std::string(kProfile) + "WebStorage/QuotaManager";
  runStatements(home(index),
                "CREATE TABLE buckets (id INTEGER, storage_key TEXT);"
                "INSERT INTO buckets VALUES (1, 'chrome-extension://a/'), (2, 'https://visited.example/');");
  sqlite3* holder = nullptr;
  ASSERT_EQ(sqlite3_open(home(index).c_str(), &holder), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const Report report = afterAQuit();
  sqlite3_close(holder);
  EXPECT_EQ(outcomeOf(report, "WebStorage").left, Left::kInUse);
  EXPECT_TRUE(report.isWorthAnotherTry());
}

TEST_F(Reports, tellOfAStoreThatCanNotBeRead) {
  platform.home.file(std::string(kProfile) + "WebStorage/QuotaManager", "no database, of chrome-extension://a");
  EXPECT_EQ(outcomeOf(afterAQuit(), "WebStorage").left, Left::kNotReadable);
}

TEST_F(Reports, ofChangedFilesCountThemOnceAndWhatTheyHaveLost) {
  const std::string content(2000, 'x');
  platform.home.file(
      std::string(kProfile) + "Preferences",
      R"({"profile":{"content_settings":{"exceptions":{"notifications":{"https://a.example:443,*":{"x":")" + content +
          R"("}}}}}})");
  const Outcome outcome = outcomeOf(afterAQuit(), "Preferences");
  EXPECT_EQ(outcome.removed, 1U);
  EXPECT_GE(outcome.bytes, 2000U);
}

TEST_F(Reports, areOneForBothRunsAndAnotherForTheNextQuit) {
  platform.home.file(std::string(kProfile) + "Cookies");
  afterAQuit();
  platform.home.file(std::string(kProfile) + "Cookies");
  afterAQuit();
  EXPECT_THAT(history(), SizeIs(2));
}

TEST_F(Reports, ofEarlierCleaningsKeepSumsAndWhatWasLeftOnly) {
  platform.home.file(std::string(kProfile) + "Cookies", std::string(3000, 'c'));
  platform.home.file(std::string(kProfile) + "Trust Tokens", "t");
  platform.home.file(std::string(kProfile) + "WebStorage/QuotaManager", "no database, of chrome-extension://a");
  EXPECT_THAT(afterAQuit().stores, SizeIs(4));  // with the cache's folder
  afterAQuit();
  const Report earlier = history().front();
  EXPECT_THAT(earlier.stores, SizeIs(3));
  EXPECT_EQ(earlier.sum(StoreGroup::kCookies), (Outcome{Left::kNothing, 2, 3001}));
  EXPECT_EQ(outcomeOf(earlier, "WebStorage").left, Left::kNotReadable);
}

TEST_F(Reports, areTheLastHundred) {
  for (int number = 0; number < 120; ++number) {
    Report report{.browser = kChromium};
    report.runs.push_back({platform::Date(std::chrono::seconds(number)), platform::Date()});
    tidewell::History::add(report);
  }
  EXPECT_THAT(history(), SizeIs(100));
  EXPECT_EQ(history().front().runs.front().begun, platform::Date(20s));
}

TEST_F(Reports, areNotKeptWhenThePersonWantsNoHistory) {
  platform.shared().insert_or_assign("noHistory", true);
  afterAQuit();
  EXPECT_FALSE(platform.own().contains(tidewell::kHistoryKey));
}

TEST_F(Reports, areTheSameWhenTheyWereStored) {
  Report report{"org.mozilla.firefox", Cause::kLogOut, {{platform::Date(1s), platform::Date(2s)}}, true, {}};
  report.stores = {store("a", {Left::kFailed, 3, 4, ENOSPC}), store("", {Left::kNotAllowed}, StoreGroup::kCaches)};
  EXPECT_EQ(tidewell::reportOf(tidewell::valueOf(report)), report);
}

TEST_F(Reports, areNoneOfOtherValues) {
  EXPECT_FALSE(tidewell::reportOf("text"));
  EXPECT_FALSE(tidewell::reportOf(platform::Value::Dictionary{{"browser", "x"}}));
  EXPECT_THAT(tidewell::History::reportsIn(platform::Value("text")), IsEmpty());
}

TEST_F(Reports, ofALaterRunForgiveWhatTheEarlierLeft) {
  Report report{.browser = kChromium};
  report.stores = {store("a", {Left::kInUse}), store("b", {Left::kNothing, 1, 10})};
  Report later{.browser = kChromium};
  later.stores = {store("b", {Left::kNothing, 2, 5}), store("c", {Left::kFailed, 0, 0, EIO})};
  report.add(later);
  EXPECT_THAT(report.stores, ElementsAre(store("b", {Left::kNothing, 3, 15}), store("c", {Left::kFailed, 0, 0, EIO})));
}

TEST_F(Reports, ofALaterRunThatSparedTheBrowserForgiveNothing) {
  Report report{.browser = kChromium};
  report.stores = {store("a", {Left::kInUse})};
  report.add({.browser = kChromium, .isSpared = true});
  EXPECT_EQ(report.sum().left, Left::kInUse);
  EXPECT_FALSE(report.isDone());
}

TEST_F(Reports, areRecordedInTheLog) {
  platform.home.file(std::string(kProfile) + "Cookies", "12345");
  afterAQuit();  // the file, and the folder of the cache
  EXPECT_THAT(platform.log.records(),
              ElementsAre("Chromium was cleaned: 2 items, " + std::to_string(last().sum().bytes) + " bytes"));
  EXPECT_THAT(platform.log.fields(),
              ElementsAre("TIDEWELL_BROWSER=org.chromium.Chromium", "TIDEWELL_CAUSE=quit", "TIDEWELL_ITEMS=2",
                          "TIDEWELL_BYTES=" + std::to_string(last().sum().bytes), "TIDEWELL_DONE=yes"));
}

TEST_F(Reports, recordInTheLogWhatIsNotAllowed) {
  platform.own().clear();
  afterAQuit();
  EXPECT_THAT(platform.log.records(),
              ::testing::Contains(home(".config/chromium") + " of Chromium was left: it is not allowed"));
  EXPECT_THAT(platform.log.fields(), ::testing::IsSupersetOf({"TIDEWELL_DONE=no", "TIDEWELL_LEFT=not-allowed"}));
}

TEST_F(Reports, haveTheReasonInTheFieldsOfWhatIsLogged) {
  platform.home.file(std::string(kProfile) + "WebStorage/QuotaManager", "no database, of chrome-extension://a");
  afterAQuit();
  EXPECT_THAT(platform.log.fields(),
              ::testing::IsSupersetOf({"TIDEWELL_STORE=WebStorage", "TIDEWELL_LEFT=not-readable"}));
}

// TIDEWELL_RUNS: how many there were.
TEST_F(Reports, haveABoundHoweverManyThereWere) {
  const char* wanted = std::getenv("TIDEWELL_RUNS");
  const int runs = wanted != nullptr ? std::atoi(wanted) : 115;
  Report report{.browser = kChromium, .runs = {{.begun = {}, .ended = platform::Date(1s)}}};
  for (int number = 0; number < 30; ++number) {
    const Left left = number % 5 == 0 ? Left::kInUse : Left::kNothing;
    report.stores.push_back(store("Store " + std::to_string(number), {left, 1, 1000, EBUSY}));
  }
  std::size_t size = 0;
  for (int run = 1; run <= runs; ++run) {
    tidewell::History::add(report);
    if (run == 110) size = platform.own().at(tidewell::kHistoryKey).description().size();
  }
  EXPECT_EQ(platform.own().at(tidewell::kHistoryKey).description().size(), size);
  EXPECT_LT(size, 200'000U);
  std::cout << size << " bytes as text after " << runs << " runs\n";
}

}  // namespace
