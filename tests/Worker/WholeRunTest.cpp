// A browser quits in a home that holds data of all five: exactly the expected items are removed, and everything else
// stays the same byte for byte.

#include <sys/stat.h>

#include <chrono>

#include "tests/support/Databases.h"
#include "tests/support/SampleHome.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::UnorderedElementsAreArray;
using testing_support::GrantedHomeTest;
using testing_support::HomeDifference;
using testing_support::HomeState;
using testing_support::kCaches;
using testing_support::kChrome;
using testing_support::kChromium;
using testing_support::kFirefox;
using testing_support::kOpera;
using testing_support::kSafari;
using testing_support::valuesOf;
using Texts = std::vector<std::string>;

constexpr char kScript[] = ".local/share/scripts/clearCookies.sh";

Texts operator+(Texts first, const Texts& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// The texts with `front` before each.
Texts each(const std::string& front, Texts rests) {
  for (std::string& rest : rests) rest.insert(0, front);
  return rests;
}

// What every browser's run removes, and what those of browsers without their own Flash Player remove.
const Texts kOfEveryBrowser = {"Library/Caches/Adobe/Flash Player/AssetCache/", "Library/Caches/QuickTime/downloads/",
                               "Library/Application Support/Microsoft/Silverlight/"};
const Texts kFlashPlayer = {"Library/Preferences/Macromedia/Flash Player/"};

// Below a profile of the Chrome family, or Opera's data folder.
const Texts kOfChromeProfile = {"Cookies",
                                "databases/http_a.example_0/",
                                "databases/https_b.example_0/",
                                "databases/file__0/",
                                "Local Storage/http_a.example_0.localstorage",
                                "Local Storage/http_a.example_0.localstorage-journal",
                                "Local Storage/https_b.example_0.localstorage",
                                "Local Storage/safari-extension_notes_0.localstorage",
                                "IndexedDB/",
                                "Application Cache/",
                                "GPUCache/",
                                "TransportSecurity"};
const Texts kRowsOfWebDatabases = {"Databases: 'http_a.example_0', 'mail'", "Databases: 'https_b.example_0', NULL",
                                   "Databases: 'file__0', X'00FF'"};
const Texts kRowsOfOrigins = {"Origins: 'http_a.example_0', 5", "Origins: 'https_b.example_0', 5"};

Texts rowsOfChromeProfile(const std::string& profile) {
  return each(profile + "databases/Databases.db, ", kRowsOfWebDatabases) +
         each(profile + "Origin Bound Certs, ",
              {"origin_bound_certs: 'https://a.example', X'01'", "origin_bound_certs: 'https://b.example', X'0002'"});
}

Texts rowsOfFirefoxProfile(const std::string& profile) {
  return each(profile + "webappsstore.sqlite, ", {"webappsstore2: 'elpmaxe.a.:http:80', 'seen', '1'",
                                                  "webappsstore2: 'elpmaxe.b.:https:443', 'it''s', X'00FF'",
                                                  "webappsstore2: 'elpmaxe.b.:https:443', 'more', NULL"});
}

class WholeRun : public GrantedHomeTest {
 protected:
  WholeRun() { platform.shared().insert_or_assign("displayNotifications", true); }

  HomeState sampleHome() const {
    testing_support::fillSampleHome(platform.home);
    ::chmod(platform.home.file(kScript, "#!/bin/sh\n").c_str(), 0755);
    return HomeState(platform.home);
  }

  /// Enables only this browser, lets it quit, and lets its first run pass; Safari's takes a second.
  void quit(const std::string& name, const std::string& identifier) {
    enable({identifier});
    platform.workspace.quit(name, identifier);
    platform.dispatch.advance(1s);
  }

  HomeDifference difference() const { return {before, HomeState(platform.home)}; }

  /// Expects exactly these items and rows to be removed by the first run, and no change by the second.
  void expectToGo(const std::string& name, const std::string& identifier, const Texts& items, const Texts& rows) {
    quit(name, identifier);
    const HomeState afterFirst(platform.home);
    const HomeDifference done(before, afterFirst);
    EXPECT_THAT(done.gone, UnorderedElementsAreArray(items));
    EXPECT_THAT(done.goneRows, UnorderedElementsAreArray(rows));
    EXPECT_THAT(done.added, IsEmpty());
    EXPECT_THAT(done.changed + done.touched, IsEmpty());
    EXPECT_THAT(platform.notificationCenter.scheduled(), IsEmpty());

    platform.dispatch.advance(60s);
    const HomeDifference doneAgain(afterFirst, HomeState(platform.home));
    EXPECT_THAT(doneAgain.gone + doneAgain.goneRows + doneAgain.added + doneAgain.changed, IsEmpty());
    EXPECT_THAT(doneAgain.touched, Each(EndsWith("/Origin Bound Certs")));  // emptied again
    EXPECT_THAT(platform.journal.entriesAfter("notify "),
                ElementsAre("Tidewell: Cookies, Databases, Flash, Silverlight, and Cache removed from " + name));
    EXPECT_THAT(platform.log.lines(), IsEmpty());
    EXPECT_THAT(platform.journal.entriesAfter("panel "), IsEmpty());
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
  const HomeState before = sampleHome();
};

TEST_F(WholeRun, ofSafariTakesItsSitesDataAndNothingElse) {
  const std::string safari = kSafari;
  expectToGo(
      "Safari", "com.apple.Safari",
      each(safari + "Databases/", {"http_a.example_0/", "https_b.example_0/", "file__0/", "___IndexedDB/"}) +
          each(safari + "LocalStorage/", {"http_a.example_0.localstorage", "https_b.example_0.localstorage",
                                          "chrome-extension_notes_0.localstorage"}) +
          each("Library/Cookies/", {"Cookies.binarycookies", "Cookies.plist", "HSTS.plist"}) +
          each(kCaches, {"com.apple.Safari/Cache.db", "com.apple.Safari/fsCachedData/", "CloudKit/com.apple.Safari/"}) +
          kFlashPlayer + kOfEveryBrowser,
      each(safari + "Databases/Databases.db, ", kRowsOfWebDatabases + kRowsOfOrigins) +
          each(safari + "LocalStorage/StorageTracker.db, ", kRowsOfOrigins));
  EXPECT_THAT(valuesOf(home(safari + "Databases/Databases.db"), "SELECT origin FROM Databases"),
              ElementsAre("chrome-extension_notes_0", "safari-extension_notes_0"));
  EXPECT_THAT(valuesOf(home(safari + "Databases/Databases.db"), "SELECT origin FROM Origins"),
              ElementsAre("safari-extension_notes_0"));
  EXPECT_THAT(valuesOf(home(safari + "LocalStorage/StorageTracker.db"), "SELECT origin FROM Origins"),
              ElementsAre("safari-extension_notes_0"));
  EXPECT_THAT(platform.journal.entriesAfter("script "), ElementsAre(home(kScript), home(kScript)));  // once in each run
}

TEST_F(WholeRun, ofFirefoxTakesItsSitesDataAndNothingElse) {
  Texts items = kFlashPlayer + kOfEveryBrowser;
  Texts rows;
  for (const std::string profile : {"ann.default/", "ann.work/"}) {
    items = items +
            each(kFirefox + profile, {"cookies.sqlite", "permissions.sqlite", "SiteSecurityServiceState.txt",
                                      "storage/default/", "storage/temporary/"}) +
            each(std::string(kCaches) + "Firefox/Profiles/" + profile, {"Cache/", "OfflineCache/", "startupCache/"});
    rows = rows + rowsOfFirefoxProfile(kFirefox + profile);
  }
  expectToGo("Firefox", "org.mozilla.firefox", items, rows);
  for (const std::string profile : {"ann.default/", "ann.work/"}) {
    EXPECT_THAT(valuesOf(home(kFirefox + profile + "webappsstore.sqlite"), "SELECT key FROM webappsstore2"),
                ElementsAre("kept", "nobody's"));
  }
}

TEST_F(WholeRun, ofGoogleChromeTakesItsSitesDataInTheListedProfilesAndNothingElse) {
  Texts items = kOfEveryBrowser;  // the Flash Player that others share stays
  Texts rows;
  for (const std::string profile : {"Default/", "P 1/"}) {
    items = items + each(kChrome + profile, kOfChromeProfile + Texts{"Pepper Data/"}) +
            Texts{std::string(kCaches) + "Google/Chrome/" + profile};
    rows = rows + rowsOfChromeProfile(kChrome + profile);
  }
  expectToGo("Google Chrome", "com.google.Chrome", items, rows);
  for (const std::string profile : {"Default/", "P 1/"}) {
    EXPECT_THAT(valuesOf(home(kChrome + profile + "Origin Bound Certs"), "SELECT count(*) FROM origin_bound_certs"),
                ElementsAre("0"));
    EXPECT_THAT(valuesOf(home(kChrome + profile + "databases/Databases.db"), "SELECT origin FROM Databases"),
                ElementsAre("chrome-extension_notes_0", "safari-extension_notes_0"));
  }
}

TEST_F(WholeRun, ofChromiumTakesItsSitesDataInTheListedProfilesAndNothingElse) {
  Texts items = kOfEveryBrowser;
  Texts rows;
  for (const std::string profile : {"Default/", "P 1/"}) {
    items = items + each(kChromium + profile, kOfChromeProfile + Texts{"Pepper Data/"}) +
            Texts{std::string(kCaches) + "Chromium/" + profile};
    rows = rows + rowsOfChromeProfile(kChromium + profile);
  }
  expectToGo("Chromium", "org.chromium.Chromium", items, rows);
}

TEST_F(WholeRun, ofOperaTakesItsSitesDataAndItsWholeCacheAndNothingElse) {
  expectToGo("Opera", "com.operasoftware.Opera",
             each(kOpera, kOfChromeProfile) + Texts{std::string(kCaches) + "com.operasoftware.Opera/"} + kFlashPlayer +
                 kOfEveryBrowser,
             rowsOfChromeProfile(kOpera));
  EXPECT_THAT(valuesOf(home(std::string(kOpera) + "Origin Bound Certs"), "SELECT value FROM meta"), ElementsAre("5"));
}

TEST_F(WholeRun, ofABrowserThatIsNotEnabledChangesNothing) {
  for (const char* name : {"Safari", "Firefox", "Google Chrome", "Chromium"}) {
    enable({});
    platform.workspace.quit(name, "");
  }
  platform.workspace.quit("Opera", "com.operasoftware.Opera");
  platform.dispatch.advance(60s);
  const HomeDifference done = difference();
  EXPECT_THAT(done.gone + done.goneRows + done.added + done.changed + done.touched, IsEmpty());
}

TEST_F(WholeRun, ofAllFiveAtOnceIsTheSumOfThem) {
  enable({"com.apple.Safari", "org.mozilla.firefox", "com.google.Chrome", "org.chromium.Chromium",
          "com.operasoftware.Opera"});
  for (const char* name : {"Safari", "Firefox", "Google Chrome", "Chromium"}) platform.workspace.quit(name, "");
  platform.workspace.quit("Opera", "com.operasoftware.Opera");
  platform.dispatch.advance(60s);
  const HomeDifference done = difference();
  Texts rows = rowsOfFirefoxProfile(std::string(kFirefox) + "ann.default/") + rowsOfChromeProfile(kOpera);
  for (const std::string profile : {"Default/", "P 1/"}) {
    EXPECT_THAT(done.gone, IsSupersetOf(each(kChrome + profile, kOfChromeProfile)));
    EXPECT_THAT(done.gone, IsSupersetOf(each(kChromium + profile, kOfChromeProfile)));
    rows = rows + rowsOfChromeProfile(kChrome + profile) + rowsOfChromeProfile(kChromium + profile);
  }
  EXPECT_THAT(done.gone, IsSupersetOf(kFlashPlayer + kOfEveryBrowser + each(kOpera, kOfChromeProfile)));
  EXPECT_THAT(done.goneRows, IsSupersetOf(rows));
  EXPECT_THAT(done.added + done.changed + done.touched, IsEmpty());
}

TEST_F(WholeRun, withOverwritingTakesTheSame) {
  quit("Firefox", "org.mozilla.firefox");
  const HomeDifference plain = difference();
  const testing_support::ScratchFolder scratch;  // a second, equal home
  platform.shared().insert_or_assign(tidewell::kUserFolderKey, scratch.path());
  platform.shared().insert_or_assign("secureDeleteData", true);
  platform.grant(scratch.path());
  testing_support::fillSampleHome(scratch);
  const HomeState again(scratch);
  quit("Firefox", "org.mozilla.firefox");
  const HomeDifference overwritten(again, HomeState(scratch));
  EXPECT_EQ(overwritten.gone, plain.gone);
  EXPECT_EQ(overwritten.goneRows, plain.goneRows);
  EXPECT_THAT(overwritten.added + overwritten.changed + overwritten.touched, IsEmpty());
}

}  // namespace
