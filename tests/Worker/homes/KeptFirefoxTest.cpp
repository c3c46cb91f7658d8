// What Firefox holds of sites that are kept, beside their cookies.

#include "tests/support/KeptSitesTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using testing_support::runStatements;
using testing_support::valuesOf;
using Texts = std::vector<std::string>;

class KeptInFirefox : public testing_support::KeptSitesTest {
 protected:
  Texts valuesIn(const std::string& name, const std::string& query) const {
    return valuesOf(home(firefox(name)), query);
  }

  /// Which of these folders are there.
  Texts thoseThere(const std::string& folder, const Texts& names) const {
    Texts there;
    for (const std::string& name : names) {
      if (platform.home.exists(firefox(folder) + "/" + name)) there.push_back(name);
    }
    return there;
  }

  std::string fileIn(const std::string& path) {
    platform.home.folder(path.substr(0, path.rfind('/')));
    return home(path);
  }

  const Texts kKeptFolders{"https+++kept.test",
                           "http+++www.kept.test+8080^userContextId=2",
                           "https+++kept.test^partitionKey=%28https%2Calone.test%29",
                           "http+++[++1]+8080",
                           "https+++alone.test",
                           "moz-extension+++0af1"};
  const Texts kOtherFolders{"https+++other.test",
                            "https+++kept.test^partitionKey=%28https%2Cother.test%29",
                            "https+++other.test^partitionKey=%28https%2Ckept.test%29",
                            "https+++kept.test^privateBrowsingId=1",
                            "https+++www.alone.test",
                            "https+++below.test",
                            "moz-nullprincipal+{0}",
                            "file++++home+kept.test",
                            "indexeddb+++kept.test"};
};

TEST_F(KeptInFirefox, areTheirFolders) {
  for (const char* folder : {"storage/default", "storage/temporary"}) {
    for (const Texts& names : {kKeptFolders, kOtherFolders}) {
      for (const std::string& name : names) platform.home.file(firefox(folder) + "/" + name + "/ls/data.sqlite", name);
    }
  }
  clean();
  for (const char* folder : {"storage/default", "storage/temporary"}) {
    EXPECT_THAT(thoseThere(folder, kKeptFolders), ::testing::ElementsAreArray(kKeptFolders));
    EXPECT_THAT(thoseThere(folder, kOtherFolders), IsEmpty());
  }
}

TEST_F(KeptInFirefox, areTheirFoldersWhereTodaysStoresAreLeft) {
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, platform::Value(false));
  for (const Texts& names : {kKeptFolders, kOtherFolders}) {
    for (const std::string& name : names) platform.home.file(firefox("storage/default/") + name + "/ls/data", name);
  }
  clean();
  EXPECT_THAT(thoseThere("storage/default", kKeptFolders), ::testing::ElementsAreArray(kKeptFolders));
  EXPECT_THAT(thoseThere("storage/default", kOtherFolders), IsEmpty());
}

TEST_F(KeptInFirefox, areTheirRowsInTheIndexOfStorage) {
  runStatements(fileIn(firefox("storage.sqlite")),
                "CREATE TABLE origin (origin TEXT); CREATE TABLE cache (valid INTEGER); INSERT INTO cache VALUES (1);"
                "INSERT INTO origin VALUES ('https://kept.test'), ('https://kept.test^userContextId=2'),"
                " ('https://kept.test^partitionKey=%28https%2Cother.test%29'), ('https://other.test'),"
                " ('moz-extension://0af1');");
  clean();
  EXPECT_THAT(valuesIn("storage.sqlite", "SELECT origin FROM origin"),
              ElementsAre("https://kept.test", "https://kept.test^userContextId=2", "moz-extension://0af1"));
  EXPECT_THAT(valuesIn("storage.sqlite", "SELECT valid FROM cache"), ElementsAre("1"));
}

TEST_F(KeptInFirefox, isLocalStorageOfEarlierVersions) {
  for (const char* name : {"webappsstore.sqlite", "storage/ls-archive.sqlite"}) {
    runStatements(
        fileIn(firefox(name)),
        "CREATE TABLE webappsstore2 (scope TEXT, value TEXT);"
        "INSERT INTO webappsstore2 VALUES ('tset.tpek.:https:443', 'own'), ('tset.tpek.www.:http:80', 'below'),"
        " ('0:f:^userContextId=2:tset.tpek.:https:443', 'container'), ('tset.rehto.:https:443', 'other'),"
        " ('0:f:^partitionKey=%28https%2Cother.test%29:tset.tpek.:https:443', 'framed in other'),"
        " ('0af1:moz-extension:', 'extension');");
  }
  clean();
  for (const char* name : {"webappsstore.sqlite", "storage/ls-archive.sqlite"}) {
    EXPECT_THAT(valuesIn(name, "SELECT value FROM webappsstore2"),
                ElementsAre("own", "below", "container", "extension"));
  }
}

TEST_F(KeptInFirefox, isWhatTheyMayDo) {
  runStatements(fileIn(firefox("permissions.sqlite")),
                "CREATE TABLE moz_perms (origin TEXT, type TEXT); CREATE TABLE moz_hosts (host TEXT, type TEXT);"
                "CREATE TABLE moz_origin_interactions (origin TEXT);"
                "INSERT INTO moz_perms VALUES ('https://kept.test', 'geo'), ('https://other.test', 'geo'),"
                " ('https://other.test', 'cookie'), ('http://www.kept.test:81^userContextId=2', 'camera'),"
                " ('https://kept.test', '3rdPartyStorage^https://alone.test'),"
                " ('https://kept.test', '3rdPartyStorage^https://other.test'),"
                " ('https://kept.test^partitionKey=%28https%2Cother.test%29', 'geo');"
                "INSERT INTO moz_hosts VALUES ('kept.test', 'image'), ('other.test', 'image');"
                "INSERT INTO moz_origin_interactions VALUES ('https://kept.test'), ('https://other.test');");
  clean();
  EXPECT_THAT(valuesIn("permissions.sqlite", "SELECT type || ' ' || origin FROM moz_perms"),
              ElementsAre("geo https://kept.test", "cookie https://other.test",
                          "camera http://www.kept.test:81^userContextId=2",
                          "3rdPartyStorage^https://alone.test https://kept.test"));
  EXPECT_THAT(valuesIn("permissions.sqlite", "SELECT host FROM moz_hosts"), ElementsAre("kept.test"));
  EXPECT_THAT(valuesIn("permissions.sqlite", "SELECT origin FROM moz_origin_interactions"),
              ElementsAre("https://kept.test"));
}

TEST_F(KeptInFirefox, isTheirZoom) {
  runStatements(fileIn(firefox("content-prefs.sqlite")),
                "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT);"
                "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER, value TEXT);"
                "INSERT INTO groups VALUES (1, 'kept.test'), (2, 'other.test'), (3, 'https://www.kept.test');"
                "INSERT INTO prefs VALUES (1, 1, 'own'), (2, 2, 'other'), (3, 3, 'below'), (4, NULL, 'global');");
  clean();
  EXPECT_THAT(valuesIn("content-prefs.sqlite", "SELECT value FROM prefs"), ElementsAre("own", "below", "global"));
  EXPECT_THAT(valuesIn("content-prefs.sqlite", "SELECT name FROM groups"),
              ElementsAre("kept.test", "https://www.kept.test"));
}

TEST_F(KeptInFirefox, areNoCachesAndNoRegistrations) {
  for (const char* name : {"serviceworker.txt", "SiteSecurityServiceState.bin", "AlternateServices.bin"}) {
    platform.home.file(firefox(name), "kept.test");
  }
  clean();
  EXPECT_THAT(thoseThere("", {"serviceworker.txt", "SiteSecurityServiceState.bin", "AlternateServices.bin"}),
              IsEmpty());
}

TEST_F(KeptInFirefox, isWhatCanNotBeReadWithAllOthers) {
  const Texts databases{"storage.sqlite", "webappsstore.sqlite", "permissions.sqlite", "content-prefs.sqlite"};
  const std::string bytes = "no database, and long enough to be looked at as one" + std::string(200, '.');
  for (const std::string& name : databases) platform.home.file(firefox(name), bytes);
  clean();
  for (const std::string& name : databases) {
    EXPECT_EQ(platform.home.content(firefox(name)), bytes);
    EXPECT_THAT(complaints(), ::testing::Contains(HasSubstr(name + " of Firefox")));
  }
}

}  // namespace
