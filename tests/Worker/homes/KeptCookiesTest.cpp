// The cookies of sites that are kept.

#include "tests/support/KeptSitesTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;
using testing_support::packedSession;
using testing_support::runStatements;
using testing_support::unpackedSession;
using testing_support::valuesOf;
using Texts = std::vector<std::string>;

class KeptCookies : public testing_support::KeptSitesTest {
 protected:
  void fillChrome(const std::string& name = "Cookies") {
    runStatements(home(chrome(name)),
                  "CREATE TABLE meta (key TEXT, value TEXT); INSERT INTO meta VALUES ('version', '24');"
                  "CREATE TABLE cookies (host_key TEXT, top_frame_site_key TEXT, name TEXT);"
                  "INSERT INTO cookies VALUES ('kept.test', '', 'own'), ('.kept.test', '', 'of domain'),"
                  " ('www.KEPT.test', '', 'below'), ('other.test', '', 'other'), ('notkept.test', '', 'alike'),"
                  " ('.kept.test', 'https://alone.test', 'framed in kept'),"
                  " ('.kept.test', 'https://other.test', 'framed in other'), ('.kept.test', 'opaque', 'opaque'),"
                  " ('other.test', 'https://kept.test', 'other framed in kept'),"
                  " ('alone.test', '', 'alone'), ('www.alone.test', '', 'below alone'), ('.below.test', '', 'parent'),"
                  " ('below.test', '', 'host-only parent'), ('[::1]', '', 'address');");
  }
  Texts chromeCookies(const std::string& name = "Cookies") const {
    return valuesOf(home(chrome(name)), "SELECT name FROM cookies");
  }
  void fillFirefox() {
    runStatements(home(firefox("cookies.sqlite")),
                  "CREATE TABLE moz_cookies (originAttributes TEXT, name TEXT, host TEXT);"
                  "INSERT INTO moz_cookies VALUES ('', 'own', 'kept.test'), ('', 'of domain', '.kept.test'),"
                  " ('', 'other', 'other.test'), ('^userContextId=2', 'container', 'kept.test'),"
                  " ('^privateBrowsingId=1', 'private', 'kept.test'),"
                  " ('^partitionKey=%28https%2Calone.test%29', 'framed in kept', 'kept.test'),"
                  " ('^partitionKey=%28https%2Cother.test%29', 'framed in other', 'kept.test'),"
                  " ('^partitionKey=%28https%2Ckept.test%29', 'other framed in kept', 'other.test'),"
                  " ('', 'address', '::1');");
  }
  Texts firefoxCookies() const { return valuesOf(home(firefox("cookies.sqlite")), "SELECT name FROM moz_cookies"); }
};

TEST_F(KeptCookies, ofChromiumStay) {
  fillChrome();
  platform.home.folder(chrome("Network"));
  fillChrome("Network/Cookies");
  clean();
  for (const char* name : {"Cookies", "Network/Cookies"}) {
    EXPECT_THAT(chromeCookies(name),
                UnorderedElementsAre("own", "of domain", "below", "framed in kept", "alone", "parent", "address"));
  }
  EXPECT_THAT(platform.home.content(chrome("Cookies")), ::testing::Not(HasSubstr("other.test"))) << "nor in free pages";
  EXPECT_THAT(valuesOf(home(chrome("Cookies")), "SELECT value FROM meta"), ElementsAre("24"));
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(KeptCookies, ofFirefoxStay) {
  fillFirefox();
  clean();
  EXPECT_THAT(firefoxCookies(), UnorderedElementsAre("own", "of domain", "container", "framed in kept", "address"));
  EXPECT_THAT(platform.home.content(firefox("cookies.sqlite")), ::testing::Not(HasSubstr("other.test")));
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(KeptCookies, stayAlsoWhereTodaysStoresAreLeft) {
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, platform::Value(false));
  fillChrome();
  fillFirefox();
  clean();
  EXPECT_THAT(chromeCookies(), ::testing::SizeIs(7));
  EXPECT_THAT(firefoxCookies(), ::testing::SizeIs(5));
}

TEST_F(KeptCookies, ofAnEmptyListGoWithTheirFiles) {
  keep({});
  fillChrome();
  fillFirefox();
  clean();
  EXPECT_FALSE(platform.home.exists(chrome("Cookies")));
  EXPECT_FALSE(platform.home.exists(firefox("cookies.sqlite")));
}

TEST_F(KeptCookies, ofOldVersionsHaveNoTopLevelSites) {
  runStatements(home(chrome("Cookies")),
                "CREATE TABLE cookies (host_key TEXT, name TEXT);"
                "INSERT INTO cookies VALUES ('kept.test', 'own'), ('other.test', 'other');");
  runStatements(home(firefox("cookies.sqlite")),
                "CREATE TABLE moz_cookies (host TEXT, name TEXT);"
                "INSERT INTO moz_cookies VALUES ('kept.test', 'own'), ('o.test', 'o');");
  clean();
  EXPECT_THAT(chromeCookies(), ElementsAre("own"));
  EXPECT_THAT(firefoxCookies(), ElementsAre("own"));
}

TEST_F(KeptCookies, areLeftWithAllOthersWhereTheyCanNotBeTold) {
  platform.home.file(chrome("Cookies"), "no database, and long enough to be looked at as one" + std::string(200, '.'));
  runStatements(home(firefox("cookies.sqlite")),
                "CREATE TABLE moz_cookies (name TEXT);"
                "INSERT INTO moz_cookies VALUES ('of somebody');");
  clean();
  EXPECT_TRUE(platform.home.exists(chrome("Cookies")));
  EXPECT_THAT(firefoxCookies(), ElementsAre("of somebody"));
  EXPECT_THAT(complaints(), ::testing::Contains(HasSubstr("Cookies of Chromium")));
  EXPECT_THAT(complaints(), ::testing::Contains(HasSubstr("cookies.sqlite of Firefox was left")));
}

TEST_F(KeptCookies, thatAreGoneLeaveNoJournal) {
  platform.home.file(chrome("Cookies-journal"), "other.test");
  clean();
  EXPECT_FALSE(platform.home.exists(chrome("Cookies-journal")));
}

TEST_F(KeptCookies, keepTheKeysThatTheyAreBoundTo) {
  for (const char* path : {"Device Bound Sessions", "Network/Device Bound Sessions"}) {
    runStatements(
        platform.home.file(chrome(path), ""),
        "CREATE TABLE dbsc_session_tbl (key TEXT PRIMARY KEY, proto BLOB); CREATE TABLE meta (key TEXT);"
        "INSERT INTO meta VALUES ('version');"
        "INSERT INTO dbsc_session_tbl VALUES ('https://kept.test', x'0a'), ('https://below.test', x'0b'),"
        "  ('https://alone.test:8443', x'0c'), ('https://other.test', x'0d'), ('https://notkept.test', x'0e'),"
        "  ('null', x'0f');");
  }
  clean();
  for (const char* path : {"Device Bound Sessions", "Network/Device Bound Sessions"}) {
    EXPECT_THAT(valuesOf(home(chrome(path)), "SELECT key FROM dbsc_session_tbl"),
                UnorderedElementsAre("https://kept.test", "https://below.test", "https://alone.test:8443"));
    EXPECT_THAT(valuesOf(home(chrome(path)), "SELECT key FROM meta"), ElementsAre("version"));
    EXPECT_THAT(platform.home.content(chrome(path)), Not(HasSubstr("other.test")));
  }
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(KeptCookies, areLeftWithTheirKeysWhereTheseCanNotBeTold) {
  runStatements(
      platform.home.file(chrome("Device Bound Sessions"), ""),
      "CREATE TABLE sessions_of_next_year (key TEXT); INSERT INTO sessions_of_next_year VALUES ('kept.test');");
  clean();
  EXPECT_THAT(valuesOf(home(chrome("Device Bound Sessions")), "SELECT key FROM sessions_of_next_year"),
              ElementsAre("kept.test"));
  EXPECT_THAT(complaints(), Not(IsEmpty()));
}

TEST_F(KeptCookies, keepWhatTheBrowserNotesOnVisitsLedThroughASite) {
  runStatements(home(chrome("DIPS")),
                "CREATE TABLE bounces (site TEXT); CREATE TABLE config (key TEXT);"
                "CREATE TABLE popups (opener_site TEXT, popup_site TEXT);"
                "CREATE TABLE news (site TEXT); INSERT INTO news VALUES ('kept.test');"
                "INSERT INTO config VALUES ('own');"
                "INSERT INTO bounces VALUES ('kept.test'), ('other.test'), ('below.test');"
                "INSERT INTO popups VALUES ('kept.test', 'alone.test'), ('kept.test', 'o.test');");
  runStatements(home(firefox("bounce-tracking-protection.sqlite")),
                "CREATE TABLE sites (originAttributeSuffix TEXT, siteHost TEXT);"
                "INSERT INTO sites VALUES ('', 'kept.test'), ('', 'other.test'), ('^privateBrowsingId=1', 'kept.test'),"
                " ('', 'below.test');");
  clean();
  EXPECT_THAT(valuesOf(home(chrome("DIPS")), "SELECT site FROM bounces"), ElementsAre("kept.test", "below.test"));
  EXPECT_THAT(valuesOf(home(chrome("DIPS")), "SELECT popup_site FROM popups"), ElementsAre("alone.test"));
  EXPECT_THAT(valuesOf(home(chrome("DIPS")), "SELECT * FROM news"), IsEmpty());
  EXPECT_THAT(valuesOf(home(chrome("DIPS")), "SELECT * FROM config"), ElementsAre("own"));
  EXPECT_THAT(valuesOf(home(firefox("bounce-tracking-protection.sqlite")), "SELECT siteHost FROM sites"),
              ElementsAre("kept.test", "below.test"));
}

TEST_F(KeptCookies, stayInSavedSessions) {
  const std::string kept =
      R"({"host":"kept.test","value":"v","originAttributes":{"partitionKey":"","userContextId":1}})";
  const std::string framed = R"-({"originAttributes":{"partitionKey":"(https,alone.test)"},"host":".kept.test"})-";
  const std::string begin = R"({"windows":[],"cookies":[)";
  const std::string others = R"-(,{"host":"kept.test","originAttributes":{"partitionKey":"(https,other.test)"}},)-"
                             R"({"host":"kept.test","originAttributes":{"privateBrowsingId":1}},)"
                             R"({"host":"kept\u002etest"},{"name":"x"}]})";
  for (const char* name : {"sessionstore.jsonlz4", "sessionstore-backups/recovery.jsonlz4"}) {
    platform.home.file(firefox(name), packedSession(begin + kept + R"(,{"host":"other.test"},)" + framed + others));
  }
  clean();
  for (const char* name : {"sessionstore.jsonlz4", "sessionstore-backups/recovery.jsonlz4"}) {
    EXPECT_EQ(unpackedSession(platform.home.content(firefox(name))), begin + kept + "," + framed + "]}");
  }
}

TEST_F(KeptCookies, inASessionThatCanNotBeReadAreLeft) {
  platform.home.file(firefox("sessionstore.jsonlz4"), "no session");
  clean();
  EXPECT_TRUE(platform.home.exists(firefox("sessionstore.jsonlz4")));
  EXPECT_THAT(complaints(), ::testing::Contains(HasSubstr("sessionstore.jsonlz4 of Firefox was left")));
}

}  // namespace
