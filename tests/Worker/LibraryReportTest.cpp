// The reports of cleanings on a home with a Library.

#include <sqlite3.h>

#include "Worker/LibraryReport.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/cleaning/History.h"
#include "tests/support/Databases.h"
#include "tests/support/SampleHome.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using testing_support::GrantedHomeTest;
using tidewell::Left;
using tidewell::Outcome;
using tidewell::Report;
using tidewell::StoreGroup;
using tidewell::StoreReport;

constexpr char kProfile[] = "Library/Application Support/Chromium/Default/";

class LibraryReports : public GrantedHomeTest {
 protected:
  std::vector<Report> history() {
    const auto found = platform.own().find(tidewell::kHistoryKey);
    return found != platform.own().end() ? tidewell::History::reportsIn(found->second) : std::vector<Report>();
  }
  void quit(std::string_view name) {
    const std::string identifier(tidewell::browserNamed(name)->bundleIdentifier);
    enable({identifier});
    platform.workspace.quit(std::string(name), identifier, {{"program"}});
  }
  Report afterAQuit(std::string_view name) {
    quit(name);
    platform.dispatch.advance(60s);
    return history().empty() ? Report() : history().back();
  }
  void fillChromium() {
    platform.home.file("Library/Application Support/Chromium/Local State",
                       R"({"profile": {"info_cache": {"Default": {"name": "Ann"}}}})");
    platform.home.file(std::string(kProfile) + "Cookies", std::string(3'000, 'c'));
    platform.home.file(std::string(kProfile) + "Local Storage/http_www.news.example_0.localstorage", "of a site");
    platform.home.file("Library/Caches/Chromium/Default/Cache/data_0", std::string(100'000, 'x'));
  }
  StoreReport storeOf(const Report& report, const std::string& name) {
    for (const StoreReport& store : report.stores) {
      if (store.store == name) return store;
    }
    return {};
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(LibraryReports, tellWhatHasGoneAndOfWhichKind) {
  fillChromium();
  const Report report = afterAQuit("Chromium");
  EXPECT_THAT(history(), SizeIs(1));
  EXPECT_EQ(report.browser, "org.chromium.Chromium");
  EXPECT_EQ(report.cause, tidewell::Cause::kQuit);
  EXPECT_THAT(report.runs, SizeIs(2));
  EXPECT_EQ(report.sum(StoreGroup::kCookies), (Outcome{Left::kNothing, 1, 3'000}));
  EXPECT_EQ(report.sum(StoreGroup::kSiteStorage), (Outcome{Left::kNothing, 1, 9}));
  EXPECT_EQ(report.sum(StoreGroup::kCaches), (Outcome{Left::kNothing, 3, 100'000}));
  EXPECT_TRUE(report.isDone());
}

TEST_F(LibraryReports, holdNoNameOfASite) {
  fillChromium();
  const std::string stored = valueOf(afterAQuit("Chromium")).description();
  EXPECT_THAT(stored, HasSubstr("Local Storage"));
  EXPECT_THAT(stored, Not(HasSubstr("news.example")));
}

TEST_F(LibraryReports, areTheOnlyThingThatIsAddedToTheWorkersSettings) {
  fillChromium();
  platform.shared().insert_or_assign("noHistory", true);
  afterAQuit("Chromium");
  const platform::Value::Dictionary without = platform.own();
  EXPECT_FALSE(without.contains("history"));
  platform.shared().erase("noHistory");
  afterAQuit("Chromium");
  platform::Value::Dictionary with = platform.own();
  EXPECT_EQ(with.erase("history"), 1U);
  EXPECT_EQ(with, without);
}

TEST_F(LibraryReports, comeWhenAllOfBothRunsHasBeenDone) {
  platform.home.file("Library/Cookies/Cookies.binarycookies", "late");
  quit("Safari");
  platform.dispatch.advance(8s);
  EXPECT_THAT(history(), IsEmpty());  // a second later the cookies are removed once more
  platform.dispatch.advance(1s);
  ASSERT_THAT(history(), SizeIs(1));
  EXPECT_EQ(storeOf(history().back(), "Cookies.binarycookies").outcome, (Outcome{Left::kNothing, 1, 4}));
}

TEST_F(LibraryReports, ofTwoQuitsAreTwo) {
  fillChromium();
  quit("Chromium");
  quit("Chromium");
  platform.dispatch.advance(60s);
  EXPECT_THAT(history(), SizeIs(2));
}

TEST_F(LibraryReports, tellOfADatabaseThatIsInUse) {
  fillChromium();
  const std::string path = home(std::string(kProfile) + "Origin Bound Certs");
  testing_support::runStatements(path,
                                 "CREATE TABLE origin_bound_certs (origin TEXT);"
                                 "INSERT INTO origin_bound_certs VALUES ('https://news.example')");
  sqlite3* holder = nullptr;
  ASSERT_EQ(::sqlite3_open(path.c_str(), &holder), SQLITE_OK);
  ASSERT_EQ(::sqlite3_exec(holder, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(storeOf(afterAQuit("Chromium"), "Origin Bound Certs").outcome.left, Left::kInUse);
  ::sqlite3_close(holder);
  EXPECT_EQ(storeOf(afterAQuit("Chromium"), "Origin Bound Certs").outcome, (Outcome{Left::kNothing, 1, 0}));
}

TEST_F(LibraryReports, tellOfWhatCouldNotBeOverwritten) {
  fillChromium();
  platform.shared().insert_or_assign("secureDeleteData", true);
  platform.system.closeFails = true;
  const StoreReport cookies = storeOf(afterAQuit("Chromium"), "Cookies");
  EXPECT_EQ(cookies.outcome, (Outcome{Left::kNotOverwritten}));
  EXPECT_EQ(cookies.folder, home("Library/Application Support/Chromium/Default"));
}

TEST_F(LibraryReports, tellOfFoldersThatWereNotAllowed) {
  fillChromium();
  platform.own().clear();  // and with them the grant
  const Report report = afterAQuit("Chromium");
  EXPECT_FALSE(report.isDone());
  EXPECT_THAT(report.notAllowed(), Contains(home("Library/Application Support/Chromium")));
  EXPECT_TRUE(platform.home.exists(std::string(kProfile) + "Cookies"));
}

TEST(StoresOfOperations, areTheirFolderWhereItemsAreNamedAfterSites) {
  for (const char* folder : {"Databases", "LocalStorage", "databases", "Local Storage"}) {
    const StoreReport store = tidewell::storeOfOperations("/profile/" + std::string(folder) + "/http_site.example_0");
    EXPECT_EQ(store, (StoreReport{"/profile", folder, StoreGroup::kSiteStorage, {}}));
  }
}

TEST(StoresOfOperations, areOfTheGroupsOfTheTables) {
  using enum StoreGroup;
  EXPECT_EQ(tidewell::storeOfOperations("/profile/cookies.sqlite"),
            (StoreReport{"/profile", "cookies.sqlite", kCookies, {}}));
  EXPECT_EQ(tidewell::storeOfOperations("/profile/GPUCache").group, kCaches);
  EXPECT_EQ(tidewell::storeOfOperations("/home/Library/Caches/Firefox/Profiles/a/Cache").group, kCaches);
  EXPECT_EQ(tidewell::storeOfOperations("/profile/webappsstore.sqlite").group, kSiteStorage);
}

}  // namespace
