// Cleaners that are called with names of no browser, in a home that holds data of all five: they change nothing except
// what they remove for every name.

#include <chrono>

#include "tests/support/Databases.h"
#include "tests/support/SampleHome.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::GrantedHomeTest;
using testing_support::HomeDifference;
using testing_support::HomeState;

constexpr const char* kNames[] = {"",
                                  "(null)",
                                  "safari",
                                  "Safari Technology Preview",
                                  "Firefox ",
                                  "firefox",
                                  "Firefox Nightly",
                                  "Google Chrome Canary",
                                  "Google",
                                  "google chrome",
                                  "chromium",
                                  "OPERA",
                                  "Opera Next",
                                  "com.operasoftware.Opera",
                                  "Lynx"};

class OtherNames : public GrantedHomeTest {
 protected:
  using Cleaner = void (tidewell::WorkerAppDelegate::*)(const std::string& browserName);

  HomeState sampleHome() const {
    testing_support::fillSampleHome(platform.home);
    // A store of one browser, in the places of the others.
    for (const char* folder : {"Library/Cookies/", testing_support::kFirefox, testing_support::kChrome, "Library/"}) {
      testing_support::runStatements(
          home(std::string(folder) + "Origin Bound Certs"),
          "CREATE TABLE origin_bound_certs (origin); INSERT INTO origin_bound_certs VALUES ('kept');");
    }
    return HomeState(platform.home);
  }

  /// What has changed in the home after the cleaner was called with all of the names, and time has passed.
  HomeDifference differenceAfter(Cleaner cleaner) {
    const testing_support::StatementJournal statements(platform.journal);
    for (const char* name : kNames) {
      platform.journal.clear();
      (worker.get()->*cleaner)(name);
      platform.dispatch.advance(2s);
      EXPECT_THAT(platform.journal.entriesAfter("sql "), IsEmpty()) << name;
      EXPECT_THAT(platform.journal.entriesAfter("after "), IsEmpty()) << name;
    }
    return {before, HomeState(platform.home)};
  }

  void expectNothingToGo(Cleaner cleaner) {
    const HomeDifference difference = differenceAfter(cleaner);
    EXPECT_THAT(difference.gone, IsEmpty());
    EXPECT_THAT(difference.goneRows, IsEmpty());
    EXPECT_THAT(difference.added, IsEmpty());
    EXPECT_THAT(difference.changed, IsEmpty());
    EXPECT_THAT(difference.touched, IsEmpty());
    EXPECT_THAT(platform.removals(), IsEmpty());
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
  const HomeState before = sampleHome();
};

TEST_F(OtherNames, haveNoCookies) {
  expectNothingToGo(&tidewell::WorkerAppDelegate::removeCookies);
}

TEST_F(OtherNames, haveNoChannelIDs) {
  expectNothingToGo(&tidewell::WorkerAppDelegate::deleteChromeChannelID);
}

TEST_F(OtherNames, haveNoSiteStorage) {
  expectNothingToGo(&tidewell::WorkerAppDelegate::removeNonFavLocalStorage);
}

TEST_F(OtherNames, haveNoFlashOfTheirOwn) {
  expectNothingToGo(&tidewell::WorkerAppDelegate::clearChromeFlash);
}

TEST_F(OtherNames, haveNoCachesOfTheChromeFamily) {
  expectNothingToGo(&tidewell::WorkerAppDelegate::clearChromeCache);
}

TEST_F(OtherNames, takeTheFlashPlayersDataAndNothingElse) {
  const HomeDifference difference = differenceAfter(&tidewell::WorkerAppDelegate::removeFlash);
  EXPECT_THAT(difference.gone, ElementsAre("Library/Preferences/Macromedia/Flash Player/"));
  EXPECT_THAT(difference.goneRows, IsEmpty());
  EXPECT_THAT(difference.changed, IsEmpty());
}

TEST_F(OtherNames, takeTheCachesOfPluginsAndNothingElse) {
  const HomeDifference difference = differenceAfter(&tidewell::WorkerAppDelegate::removeBrowserCache);
  EXPECT_THAT(difference.gone,
              ElementsAre("Library/Caches/Adobe/Flash Player/AssetCache/", "Library/Caches/QuickTime/downloads/"));
  EXPECT_THAT(difference.goneRows, IsEmpty());
  EXPECT_THAT(difference.changed, IsEmpty());
}

TEST_F(OtherNames, areNotEnabledThoughAllBrowsersAre) {
  enable({"com.apple.Safari", "org.mozilla.firefox", "com.google.Chrome", "org.chromium.Chromium",
          "com.operasoftware.Opera"});
  for (const char* name : kNames) {
    EXPECT_FALSE(tidewell::WorkerAppDelegate::checkIfBrowserEnabled(name)) << name;
    platform.workspace.quit(name, std::nullopt);
    EXPECT_EQ(platform.dispatch.waitingOnMain(), 0U) << name;
  }
  EXPECT_EQ(platform.dispatch.waitingTimers(), 0U);
}

}  // namespace
