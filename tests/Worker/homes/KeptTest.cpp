// What the person has decided about single sites: rules on cookies stay, and all of it where a setting says so.

#include <nlohmann/json.hpp>

#include "Worker/Identity.h"
#include "tests/support/LinuxHomeTest.h"
#include "tests/support/SampleWriter.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::LinuxHomeTest;
using testing_support::runStatements;
using testing_support::SampleWriter;
using testing_support::valuesOf;
using Texts = std::vector<std::string>;

constexpr char kPermissions[] = "ann/permissions.sqlite";
constexpr char kZoom[] = "ann/content-prefs.sqlite";

class Kept : public LinuxHomeTest {
 protected:
  /// Fills a profile of each family in these folders, and cleans it.
  void cleanIn(const std::string& chrome, const std::string& firefox, const std::string& caches) {
    platform.home.file(chrome + "Local State", R"({"profile": {"info_cache": {"Default": {"name": "Ann"}}}})");
    platform.home.file(chrome + "Default/Preferences", kPreferences);
    runStatements(fileIn(firefox + kPermissions),
                  "CREATE TABLE moz_perms (id INTEGER PRIMARY KEY, origin TEXT, type TEXT);"
                  "CREATE TABLE moz_hosts (id INTEGER PRIMARY KEY, host TEXT, type TEXT);"
                  "INSERT INTO moz_perms (origin, type) VALUES ('https://a.test', 'cookie'),"
                  " ('https://a.test', 'persist-data-on-shutdown'), ('https://a.test', 'geo'),"
                  " ('https://a.test', '3rdPartyStorage^https://b.test'), ('moz-extension://0af1', 'geo');"
                  "INSERT INTO moz_hosts (host, type) VALUES ('a.test', 'cookie'), ('a.test', 'image');");
    runStatements(fileIn(firefox + kZoom),
                  "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT);"
                  "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER, value);"
                  "INSERT INTO groups VALUES (1, 'a.test'); INSERT INTO prefs VALUES (1, 1, 2.0);");
    platform.home.file(firefox + "ann/times.json", "{}");
    for (const std::string& folder : {chrome, firefox, caches + "chromium", caches + "mozilla/firefox"}) {
      platform.home.folder(folder);
      platform.grant(home(folder));
    }
    quit("Chromium");
    quit("Firefox");
  }

  void cleanLinuxHome() { cleanIn(".config/chromium/", ".mozilla/firefox/", ".cache/"); }

  std::string fileIn(const std::string& path) {
    platform.home.folder(path.substr(0, path.rfind('/')));
    return home(path);
  }

  Texts permissions() const {
    return valuesOf(home(".mozilla/firefox/ann/permissions.sqlite"), "SELECT type || ' ' || origin FROM moz_perms");
  }

  /// The kinds of settings of which an exception is left.
  Texts exceptions(const std::string& chrome = ".config/chromium/") const {
    Texts kinds;
    const auto settings = nlohmann::json::parse(platform.home.content(chrome + "Default/Preferences"));
    for (const auto& [kind, entries] : settings["profile"]["content_settings"]["exceptions"].items()) {
      if (!entries.empty()) kinds.push_back(kind);
    }
    return kinds;
  }

  nlohmann::json zoom() const {
    return nlohmann::json::parse(platform.home.content(".config/chromium/Default/Preferences"))["partition"];
  }

  static constexpr char kPreferences[] =
      R"({"partition":{"per_host_zoom_levels":{"x":{"a.test":{"zoom_level":1.5}}}},"profile":{"content_settings":)"
      R"({"exceptions":{"client_hints":{"https://a.test,*":{"setting":1}},"cookies":{"[*.]a.test,*":{"setting":4}},)"
      R"("notifications":{"https://a.test:443,*":{"setting":1}},"ssl_cert_decisions":{"https://a.test,*":{"setting":{}}}}},)"
      R"("default_content_setting_values":{"cookies":4}}})";

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Kept, areTheRulesOnCookiesAndWhatExtensionsMayDo) {
  cleanLinuxHome();
  EXPECT_THAT(exceptions(), ElementsAre("cookies"));
  EXPECT_THAT(permissions(), ElementsAre("cookie https://a.test", "persist-data-on-shutdown https://a.test",
                                         "geo moz-extension://0af1"));
  EXPECT_THAT(valuesOf(home(".mozilla/firefox/ann/permissions.sqlite"), "SELECT type FROM moz_hosts"),
              ElementsAre("cookie"));
  EXPECT_THAT(valuesOf(home(".mozilla/firefox/ann/content-prefs.sqlite"), "SELECT value FROM prefs"), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(Kept, areTheRulesOnCookiesAlsoWhereTodaysStoresAreLeft) {
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, platform::Value(false));
  cleanLinuxHome();
  EXPECT_THAT(permissions(), ElementsAre("cookie https://a.test", "persist-data-on-shutdown https://a.test",
                                         "geo moz-extension://0af1"));
}

TEST_F(Kept, areAllSettingsOfSitesWhereThePersonWantsIt) {
  for (const platform::Value& wanted : {platform::Value(true), platform::Value(std::string("no boolean"))}) {
    platform.shared().insert_or_assign(tidewell::kKeepSiteSettingsKey, wanted);
    std::filesystem::remove_all(home(".mozilla"));
    cleanLinuxHome();
    EXPECT_THAT(exceptions(), ElementsAre("cookies", "notifications", "ssl_cert_decisions"));
    EXPECT_EQ(zoom()["per_host_zoom_levels"]["x"].size(), 1u);
    EXPECT_THAT(permissions(), ElementsAre("cookie https://a.test", "persist-data-on-shutdown https://a.test",
                                           "geo https://a.test", "geo moz-extension://0af1"));
    EXPECT_THAT(valuesOf(home(".mozilla/firefox/ann/content-prefs.sqlite"), "SELECT value FROM prefs"),
                ElementsAre("2.0"));
  }
}

TEST_F(Kept, isNothingWhereThePersonDoesNotWantIt) {
  platform.shared().insert_or_assign(tidewell::kKeepSiteSettingsKey, platform::Value(false));
  cleanLinuxHome();
  EXPECT_THAT(exceptions(), ElementsAre("cookies"));
}

TEST_F(Kept, isNothingOnAHomeWithALibrary) {
  platform.home.folder("Library/Application Support");
  platform.shared().insert_or_assign(tidewell::kKeepSiteSettingsKey, platform::Value(true));
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, platform::Value(true));
  platform.grant(platform.home.path());
  const std::string support = "Library/Application Support/";
  cleanIn(support + "Chromium/", support + "Firefox/Profiles/", "Library/Caches/");
  EXPECT_THAT(exceptions(support + "Chromium/"), IsEmpty());
  EXPECT_FALSE(platform.home.exists(support + "Firefox/Profiles/ann/permissions.sqlite"));
}

}  // namespace
