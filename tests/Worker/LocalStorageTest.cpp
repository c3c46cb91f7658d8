// Web databases, local storage and IndexedDB of each browser.

#include "tests/support/Databases.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::GrantedHomeTest;
using testing_support::runStatements;
using testing_support::valuesOf;

constexpr char kSafari[] = "Library/Safari/";
constexpr char kChrome[] = "Library/Application Support/Google/Chrome/";
constexpr char kOpera[] = "Library/Application Support/com.operasoftware.Opera/";
constexpr char kFirefox[] = "Library/Application Support/Firefox/Profiles/";

class SiteStorage : public GrantedHomeTest {
 protected:
  void makeIndex(const std::string& below, const std::vector<std::string>& origins, bool withOrigins = false) {
    std::string statements = "CREATE TABLE Databases (origin TEXT, name TEXT); CREATE TABLE Origins (origin TEXT);";
    for (const std::string& origin : origins) {
      statements += "INSERT INTO Databases VALUES ('" + origin + "', 'db');";
      if (withOrigins) statements += "INSERT INTO Origins VALUES ('" + origin + "');";
    }
    runStatements(home(below), statements);
  }
  /// The statements and removals so far, in order, with paths relative to the home folder.
  std::vector<std::string> steps() const {
    std::vector<std::string> steps;
    for (std::string entry : platform.journal.entries()) {
      if (!entry.starts_with("sql ") && !entry.starts_with("remove ")) continue;
      const std::size_t at = entry.find(platform.home.path());
      steps.push_back(entry.erase(at, platform.home.path().size() + 1));
    }
    return steps;
  }
  void removeStorage(const std::string& browserName) {
    platform.journal.clear();
    const testing_support::StatementJournal statements(platform.journal);
    worker->removeNonFavLocalStorage(browserName);
    platform.dispatch.runUntilIdle();
  }
  void listChromeProfile() {
    platform.home.file(std::string(kChrome) + "Local State", R"({"profile": {"info_cache": {"P": {"name": "p"}}}})");
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(SiteStorage, ofAnUnknownNameStays) {
  platform.home.file(std::string(kSafari) + "Databases/___IndexedDB/x");
  for (const char* name : {"firefox", "Google Chrome Canary", ""}) removeStorage(name);
  EXPECT_THAT(steps(), IsEmpty());
}

// Safari.

TEST_F(SiteStorage, ofSafariGoesFilesBeforeStatements) {
  const std::string databases = std::string(kSafari) + "Databases/";
  const std::string localStorage = std::string(kSafari) + "LocalStorage/";
  makeIndex(databases + "Databases.db", {"http_a.com_0", "safari-extension_x_0", "https_b.org_0"}, true);
  platform.home.file(databases + "http_a.com_0/1.db");
  platform.home.file(databases + "safari-extension_x_0/1.db");
  platform.home.file(databases + "___IndexedDB/c/d");
  platform.home.file(localStorage + "http_a.com_0.localstorage");
  platform.home.file(localStorage + "http_a.com_0.localstorage-journal");
  platform.home.file(localStorage + "safari-extension_x_0.localstorage");
  runStatements(
      home(localStorage + "StorageTracker.db"),
      "CREATE TABLE Origins (origin TEXT); INSERT INTO Origins VALUES ('http_a.com_0'), ('safari-extension_x_0');");
  removeStorage("Safari");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT origin FROM Databases; on " + databases + "Databases.db",
                                   "remove " + databases + "http_a.com_0", "remove " + databases + "https_b.org_0",
                                   "sql DELETE FROM Databases WHERE origin IN ('http_a.com_0','https_b.org_0'); on " +
                                       databases + "Databases.db",
                                   "sql DELETE FROM Origins WHERE origin IN ('http_a.com_0','https_b.org_0'); on " +
                                       databases + "Databases.db",
                                   "remove " + localStorage + "http_a.com_0.localstorage",
                                   "sql DELETE FROM Origins WHERE origin IN ('http_a.com_0'); on " + localStorage +
                                       "StorageTracker.db",
                                   "remove " + databases + "___IndexedDB"));
  EXPECT_THAT(valuesOf(home(databases + "Databases.db"), "SELECT origin FROM Databases"),
              ElementsAre("safari-extension_x_0"));
  EXPECT_THAT(valuesOf(home(localStorage + "StorageTracker.db"), "SELECT origin FROM Origins"),
              ElementsAre("safari-extension_x_0"));
  EXPECT_TRUE(platform.home.exists(databases + "safari-extension_x_0/1.db"));
  EXPECT_TRUE(platform.home.exists(localStorage + "http_a.com_0.localstorage-journal"));
}

TEST_F(SiteStorage, ofSafariWithoutAnIndexIsLocalStorageAndIndexedDB) {
  platform.home.file(std::string(kSafari) + "LocalStorage/http_a.com_0.localstorage");
  platform.home.file(std::string(kSafari) + "Databases/___IndexedDB/x");
  removeStorage("Safari");
  EXPECT_THAT(steps(), ElementsAre("remove " + std::string(kSafari) + "LocalStorage/http_a.com_0.localstorage",
                                   "remove " + std::string(kSafari) + "Databases/___IndexedDB"));
}

TEST_F(SiteStorage, ofSafariWithExtensionsOnlyIsLeftAndNoStatementRuns) {
  makeIndex(std::string(kSafari) + "Databases/Databases.db", {"safari-extension_x_0", "chrome-extension_y_0"}, true);
  platform.home.file(std::string(kSafari) + "LocalStorage/safari-extension_x_0.localstorage");
  runStatements(home(std::string(kSafari) + "LocalStorage/StorageTracker.db"), "CREATE TABLE Origins (origin TEXT);");
  removeStorage("Safari");
  EXPECT_THAT(steps(),
              ElementsAre("sql SELECT origin FROM Databases; on " + std::string(kSafari) + "Databases/Databases.db"));
}

TEST_F(SiteStorage, ofSafariTakesTheExtensionsOfOtherBrowsersAlong) {
  const std::string localStorage = std::string(kSafari) + "LocalStorage/";
  platform.home.file(localStorage + "chrome-extension_x_0.localstorage");
  removeStorage("Safari");
  EXPECT_THAT(steps(), ElementsAre("remove " + localStorage + "chrome-extension_x_0.localstorage"));
}

TEST_F(SiteStorage, ofSafariIsTrackedByNamesUpToTheirLastDot) {
  const std::string localStorage = std::string(kSafari) + "LocalStorage/";
  runStatements(home(localStorage + "StorageTracker.db"), "CREATE TABLE Origins (origin TEXT);");
  platform.home.file(localStorage + "http_www.a.example_8080.localstorage");
  removeStorage("Safari");
  EXPECT_THAT(steps(), ElementsAre("remove " + localStorage + "http_www.a.example_8080.localstorage",
                                   "sql DELETE FROM Origins WHERE origin IN ('http_www.a.example_8080'); on " +
                                       localStorage + "StorageTracker.db"));
}

TEST_F(SiteStorage, ofSafariKeepsTheOriginsOfAnIndexAsTheyAre) {
  const std::string index = std::string(kSafari) + "Databases/Databases.db";
  makeIndex(index, {"it''s_0"});
  removeStorage("Safari");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT origin FROM Databases; on " + index,
                                   "remove " + std::string(kSafari) + "Databases/it's_0"));  // the DELETEs fail
  EXPECT_THAT(valuesOf(home(index), "SELECT origin FROM Databases"), ElementsAre("it's_0"));
}

// The Chrome family.

TEST_F(SiteStorage, ofChromeGoesStatementBeforeFiles) {
  listChromeProfile();
  const std::string profile = std::string(kChrome) + "P/";
  makeIndex(profile + "databases/Databases.db", {"http_a.com_0", "chrome-extension_x_0"});
  platform.home.file(profile + "databases/http_a.com_0/1");
  platform.home.file(profile + "databases/chrome-extension_x_0/1");
  platform.home.file(profile + "Local Storage/http_a.com_0.localstorage");
  platform.home.file(profile + "Local Storage/chrome-extension_x_0.localstorage");
  platform.home.file(profile + "IndexedDB/https_a.com_0.indexeddb.leveldb/LOG");
  removeStorage("Google Chrome");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT origin FROM Databases; on " + profile + "databases/Databases.db",
                                   "sql DELETE FROM Databases WHERE origin IN ('http_a.com_0'); on " + profile +
                                       "databases/Databases.db",
                                   "remove " + profile + "databases/http_a.com_0",
                                   "remove " + profile + "Local Storage/http_a.com_0.localstorage",
                                   "remove " + profile + "Local Storage/http_a.com_0.localstorage-journal",
                                   "remove " + profile + "IndexedDB"));
  EXPECT_THAT(valuesOf(home(profile + "databases/Databases.db"), "SELECT origin FROM Databases"),
              ElementsAre("chrome-extension_x_0"));
  EXPECT_TRUE(platform.home.exists(profile + "Local Storage/chrome-extension_x_0.localstorage"));
}

TEST_F(SiteStorage, ofChromeWithExtensionsOnlyStillRunsTheStatement) {
  listChromeProfile();
  const std::string index = std::string(kChrome) + "P/databases/Databases.db";
  makeIndex(index, {"chrome-extension_x_0"});
  removeStorage("Google Chrome");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT origin FROM Databases; on " + index,
                                   "sql DELETE FROM Databases WHERE origin IN (''); on " + index));
}

TEST_F(SiteStorage, ofChromeWithoutLocalStorageStillLosesIndexedDB) {
  listChromeProfile();
  platform.home.file(std::string(kChrome) + "P/IndexedDB/x");
  removeStorage("Google Chrome");
  EXPECT_THAT(steps(), ElementsAre("remove " + std::string(kChrome) + "P/IndexedDB"));
  EXPECT_THAT(platform.journal.entriesAfter("list "), IsEmpty());  // a missing folder is not listed
}

TEST_F(SiteStorage, ofChromeWithoutAnIndexIsLocalStorage) {
  listChromeProfile();
  const std::string localStorage = std::string(kChrome) + "P/Local Storage/";
  platform.home.file(localStorage + "safari-extension_x_0.localstorage");
  removeStorage("Google Chrome");
  EXPECT_THAT(steps(), ElementsAre("remove " + localStorage + "safari-extension_x_0.localstorage",
                                   "remove " + localStorage + "safari-extension_x_0.localstorage-journal"));
}

TEST_F(SiteStorage, ofChromiumIsChosenAndRemovedAsThatOfChrome) {
  const std::string data = "Library/Application Support/Chromium/";
  platform.home.file(data + "Local State", R"({"profile": {"info_cache": {"P": {"name": "p"}}}})");
  platform.home.file(data + "P/Local Storage/chrome-extension_x_0.localstorage");
  platform.home.file(data + "P/Local Storage/http_a.com_0.localstorage");
  platform.home.file(data + "P/IndexedDB/x");
  removeStorage("Chromium");
  EXPECT_THAT(steps(), ElementsAre("remove " + data + "P/Local Storage/http_a.com_0.localstorage",
                                   "remove " + data + "P/Local Storage/http_a.com_0.localstorage-journal",
                                   "remove " + data + "P/IndexedDB"));
}

TEST_F(SiteStorage, ofChromeThatIsMissingIsNotRemoved) {
  listChromeProfile();
  platform.home.folder(std::string(kChrome) + "P");
  removeStorage("Google Chrome");
  EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(SiteStorage, ofChromeWithoutProfilesStays) {
  platform.home.file(std::string(kChrome) + "Default/IndexedDB/x");
  removeStorage("Google Chrome");
  removeStorage("Chromium");
  EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(SiteStorage, ofOperaLiesInItsDataFolder) {
  makeIndex(std::string(kOpera) + "databases/Databases.db", {"http_a.com_0"});
  platform.home.file(std::string(kOpera) + "Local Storage/http_a.com_0.localstorage");
  platform.home.file(std::string(kOpera) + "IndexedDB/x");
  platform.home.file(std::string(kOpera) + "Default/IndexedDB/x");
  removeStorage("Opera");
  EXPECT_THAT(steps(),
              ElementsAre("sql SELECT origin FROM Databases; on " + std::string(kOpera) + "databases/Databases.db",
                          "sql DELETE FROM Databases WHERE origin IN ('http_a.com_0'); on " + std::string(kOpera) +
                              "databases/Databases.db",
                          "remove " + std::string(kOpera) + "databases/http_a.com_0",
                          "remove " + std::string(kOpera) + "Local Storage/http_a.com_0.localstorage",
                          "remove " + std::string(kOpera) + "Local Storage/http_a.com_0.localstorage-journal",
                          "remove " + std::string(kOpera) + "IndexedDB"));
}

// Firefox.

TEST_F(SiteStorage, ofFirefoxIsTheTableAndTwoFoldersOfEachProfile) {
  const std::string profile = std::string(kFirefox) + "a.default/";
  runStatements(home(profile + "webappsstore.sqlite"),
                "CREATE TABLE webappsstore2 (originKey TEXT, scope TEXT, value TEXT);"
                "INSERT INTO webappsstore2 VALUES ('k', 'moc.elpmaxe.:http:80', 'v'), ('k', 'extension', 'v'),"
                "('k', 'gro.a.:https:443', x'00ff');");
  for (const char* folder : {"default", "temporary", "permanent"}) {
    platform.home.file(profile + "storage/" + folder + "/https+++a.org/ls/data.sqlite");
  }
  platform.home.file(std::string(kFirefox) + "profiles.txt");
  platform.home.file(std::string(kFirefox) + "no-table/storage/default/x");
  removeStorage("Firefox");
  const auto done = steps();
  EXPECT_THAT(done, ::testing::Contains("sql SELECT * FROM webappsstore2; on " + profile + "webappsstore.sqlite"));
  EXPECT_THAT(done,
              ::testing::Contains(
                  "sql DELETE FROM webappsstore2 WHERE scope IN ('moc.elpmaxe.:http:80','gro.a.:https:443'); on " +
                  profile + "webappsstore.sqlite"));
  EXPECT_EQ(done.size(), 5U);
  EXPECT_THAT(valuesOf(home(profile + "webappsstore.sqlite"), "SELECT scope FROM webappsstore2"),
              ElementsAre("extension"));
  EXPECT_FALSE(platform.home.exists(profile + "storage/default"));
  EXPECT_FALSE(platform.home.exists(profile + "storage/temporary"));
  EXPECT_TRUE(platform.home.exists(profile + "storage/permanent/https+++a.org/ls/data.sqlite"));
  EXPECT_FALSE(platform.home.exists(std::string(kFirefox) + "no-table/storage/default"));
  EXPECT_TRUE(platform.home.exists(std::string(kFirefox) + "profiles.txt"));
}

TEST_F(SiteStorage, ofFirefoxGoesTableFirstThenDefaultThenTemporary) {
  const std::string profile = std::string(kFirefox) + "p/";
  runStatements(home(profile + "webappsstore.sqlite"),
                "CREATE TABLE webappsstore2 (scope TEXT); INSERT INTO webappsstore2 VALUES ('a.:b');");
  platform.home.file(profile + "storage/temporary/x");
  platform.home.file(profile + "storage/default/x");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT * FROM webappsstore2; on " + profile + "webappsstore.sqlite",
                                   "sql DELETE FROM webappsstore2 WHERE scope IN ('a.:b'); on " + profile +
                                       "webappsstore.sqlite",
                                   "remove " + profile + "storage/default", "remove " + profile + "storage/temporary"));
}

TEST_F(SiteStorage, ofFirefoxWithoutATableIsTheTwoFoldersWhereTheyAre) {
  const std::string profile = std::string(kFirefox) + "p/";
  platform.home.file(profile + "storage/temporary/x");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), ElementsAre("remove " + profile + "storage/temporary"));
  platform.home.file(profile + "storage/temporary/x");
  platform.home.file(profile + "storage/default/x");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), ElementsAre("remove " + profile + "storage/default", "remove " + profile + "storage/temporary"));
}

TEST_F(SiteStorage, ofFirefoxIsNotWhatALinkOrAFileAmongTheProfilesLeadsTo) {
  platform.home.file("elsewhere/storage/default/x");
  runStatements(home("elsewhere/webappsstore.sqlite"),
                "CREATE TABLE webappsstore2 (scope TEXT); INSERT INTO webappsstore2 VALUES ('a.:b');");
  platform.home.link(std::string(kFirefox) + "link", home("elsewhere"));
  platform.home.file(std::string(kFirefox) + "file");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), IsEmpty());
  EXPECT_TRUE(platform.home.exists("elsewhere/storage/default/x"));
  EXPECT_THAT(valuesOf(home("elsewhere/webappsstore.sqlite"), "SELECT scope FROM webappsstore2"), ElementsAre("a.:b"));
}

TEST_F(SiteStorage, ofFirefoxIsToldByTheScopeColumnAlone) {
  const std::string table = std::string(kFirefox) + "p/webappsstore.sqlite";
  runStatements(home(table),
                "CREATE TABLE webappsstore2 (originKey TEXT, scope TEXT, value TEXT); INSERT INTO webappsstore2 VALUES "
                "('key.:http:80', 'moc.a.:http:80', 'value.:http:80'), ('other.:http:80', 'extension', 'moc.b.:x');");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT * FROM webappsstore2; on " + table,
                                   "sql DELETE FROM webappsstore2 WHERE scope IN ('moc.a.:http:80'); on " + table));
}

TEST_F(SiteStorage, statementsNameOneValueAndSeveral) {
  const std::string table = std::string(kFirefox) + "p/webappsstore.sqlite";
  runStatements(home(table), "CREATE TABLE webappsstore2 (scope TEXT); INSERT INTO webappsstore2 VALUES ('a.:b');");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), ::testing::Contains("sql DELETE FROM webappsstore2 WHERE scope IN ('a.:b'); on " + table));
  const std::string localStorage = std::string(kSafari) + "LocalStorage/";
  runStatements(home(localStorage + "StorageTracker.db"), "CREATE TABLE Origins (origin TEXT);");
  platform.home.file(localStorage + "a.localstorage");
  platform.home.file(localStorage + "b.localstorage");
  removeStorage("Safari");
  const std::string on = "); on " + localStorage + "StorageTracker.db";
  EXPECT_THAT(steps(), ::testing::Contains(::testing::AnyOf("sql DELETE FROM Origins WHERE origin IN ('a','b'" + on,
                                                            "sql DELETE FROM Origins WHERE origin IN ('b','a'" + on)));
}

TEST_F(SiteStorage, ofFirefoxWhoseScopesAreNoSitesStillRunsTheStatement) {
  const std::string table = std::string(kFirefox) + "p/webappsstore.sqlite";
  runStatements(home(table),
                "CREATE TABLE webappsstore2 (scope TEXT); INSERT INTO webappsstore2 VALUES ('x'), (NULL);");
  removeStorage("Firefox");
  EXPECT_THAT(steps(), ElementsAre("sql SELECT * FROM webappsstore2; on " + table,
                                   "sql DELETE FROM webappsstore2 WHERE scope IN (''); on " + table));
}

TEST_F(SiteStorage, ofFirefoxWithoutTheScopeColumnAddsNothing) {
  const std::string table = std::string(kFirefox) + "p/webappsstore.sqlite";
  runStatements(home(table), "CREATE TABLE webappsstore2 (other TEXT); INSERT INTO webappsstore2 VALUES ('a.:b');");
  removeStorage("Firefox");
  EXPECT_THAT(valuesOf(home(table), "SELECT other FROM webappsstore2"), ElementsAre("a.:b"));
}

// Values that try to break out of statements.

TEST_F(SiteStorage, withAQuoteInAnOriginMakesOnlyThatStatementFail) {
  listChromeProfile();
  const std::string profile = std::string(kChrome) + "P/";
  makeIndex(profile + "databases/Databases.db", {"a''); DROP TABLE Databases; --", "http_a.com_0"});
  platform.home.file(profile + "databases/http_a.com_0/1");
  removeStorage("Google Chrome");
  // Only the first statement of a text is compiled, and here it matches no row.
  EXPECT_THAT(valuesOf(home(profile + "databases/Databases.db"), "SELECT count(*) FROM Databases"), ElementsAre("2"));
  EXPECT_FALSE(platform.home.exists(profile + "databases/http_a.com_0"));
}

TEST_F(SiteStorage, ofAnOriginThatIsNoPlainNameLeavesTheProfileAlone) {
  listChromeProfile();
  const std::string profile = std::string(kChrome) + "P/";
  makeIndex(profile + "databases/Databases.db", {"..", ".", "", "../Bookmarks"});
  platform.home.file(profile + "Bookmarks");
  platform.home.file(profile + "databases/chrome-extension_x_0/1");
  removeStorage("Google Chrome");
  EXPECT_TRUE(platform.home.exists(profile + "Bookmarks"));
  EXPECT_TRUE(platform.home.exists(profile + "databases/chrome-extension_x_0/1"));
  EXPECT_THAT(valuesOf(home(profile + "databases/Databases.db"), "SELECT origin FROM Databases"), IsEmpty());
}

TEST_F(SiteStorage, ofAnOriginThatLeadsOutReachesNothing) {
  listChromeProfile();
  platform.elsewhere.file("keep");
  makeIndex(std::string(kChrome) + "P/databases/Databases.db", {"../../../../../../.." + platform.elsewhere.path()});
  removeStorage("Google Chrome");
  EXPECT_TRUE(platform.elsewhere.exists("keep"));
}

}  // namespace
