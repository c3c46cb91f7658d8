// Cookie stores and channel IDs.

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/Databases.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using testing_support::GrantedHomeTest;
using testing_support::runStatements;
using testing_support::valuesOf;

constexpr char kChrome[] = "Library/Application Support/Google/Chrome";
constexpr char kChromium[] = "Library/Application Support/Chromium";
constexpr char kOpera[] = "Library/Application Support/com.operasoftware.Opera";
constexpr char kProfiles[] = "Library/Application Support/Firefox/Profiles";

class Cookies : public GrantedHomeTest {
 protected:
  void listProfiles(const std::string& folder) {
    platform.home.file(folder + "/Local State",
                       R"({"profile": {"info_cache": {"P": {"name": "p"}, "Q": {"name": "q"}}}})");
  }
  void makeChannelIDs(const std::string& below) {
    runStatements(home(below),
                  "CREATE TABLE origin_bound_certs (origin); INSERT INTO origin_bound_certs VALUES ('a'), ('b');");
  }
  void removeCookies(const std::string& browserName) {
    worker->removeCookies(browserName);
    platform.dispatch.runUntilIdle();
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Cookies, ofSafariGoOneSecondLaterAndThenTheScriptIsStarted) {
  platform.home.file("Library/Cookies/Cookies.binarycookies");
  ::chmod(platform.home.file(".local/share/scripts/clearCookies.sh").c_str(), 0755);
  removeCookies("Safari");
  platform.dispatch.advance(1s - 1ns);
  EXPECT_TRUE(platform.home.exists("Library/Cookies/Cookies.binarycookies"));
  EXPECT_THAT(platform.journal.entriesAfter("script "), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("after "), ElementsAre("1000000000 ns on main"));
  platform.dispatch.advance(1ns);
  EXPECT_THAT(platform.removals(), ElementsAre("Library/Cookies/Cookies.binarycookies"));
  EXPECT_FALSE(platform.home.exists("Library/Cookies/Cookies.binarycookies"));
  EXPECT_THAT(platform.journal.entriesAfter("script "), ElementsAre(home(".local/share/scripts/clearCookies.sh")));
  EXPECT_THAT(platform.journal.placesOf("script "), ElementsAre("main"));
}

TEST_F(Cookies, ofSafariGoThoughNobodyElseHoldsTheWorker) {
  platform.home.file("Library/Cookies/Cookies.binarycookies");
  removeCookies("Safari");
  worker.reset();
  platform.dispatch.advance(1s);
  EXPECT_FALSE(platform.home.exists("Library/Cookies/Cookies.binarycookies"));
}

TEST_F(Cookies, ofSafariAreHandedOverBeforeTheScriptAndBothOnTheMainThread) {
  platform.home.file("Library/Cookies/Cookies.binarycookies");
  std::size_t handedOver = 0;
  // The script is missing, so a panel asks for its folder.
  platform.openPanel.whileShown = [&] { handedOver = platform.dispatch.waitingInBackground(); };
  removeCookies("Safari");
  platform.journal.clear();
  platform.dispatch.advance(1s);
  EXPECT_EQ(handedOver, 1U);
  EXPECT_THAT(platform.journal.entriesAfter("panel "), ElementsAre(home(".local/share/scripts")));
  EXPECT_THAT(platform.journal.placesOf("panel "), ElementsAre("com.emberlinestudio.com.TidewellWorker.task"));
  EXPECT_THAT(platform.journal.placesOf("queue "), ElementsAre("main", "main"));  // the removal, and the check
  EXPECT_FALSE(platform.home.exists("Library/Cookies/Cookies.binarycookies"));
}

TEST_F(Cookies, ofFirefoxGoWithThePermissionsProfileByProfile) {
  for (const char* profile : {"A", "B"}) {
    for (const char* file : {"cookies.sqlite", "permissions.sqlite", "cookies.sqlite-wal", "places.sqlite"}) {
      platform.home.file(std::string(kProfiles) + "/" + profile + "/" + file);
    }
  }
  removeCookies("Firefox");
  std::vector<std::string> expected;
  for (const auto& entry : std::filesystem::directory_iterator(home(kProfiles))) {
    const std::string profile = std::string(kProfiles) + "/" + entry.path().filename().string();
    expected.push_back(profile + "/cookies.sqlite");
    expected.push_back(profile + "/permissions.sqlite");
  }
  EXPECT_EQ(platform.removals(), expected);
  EXPECT_EQ(expected.size(), 4U);
  EXPECT_FALSE(platform.home.exists(std::string(kProfiles) + "/A/cookies.sqlite"));
  EXPECT_TRUE(platform.home.exists(std::string(kProfiles) + "/A/cookies.sqlite-wal"));
  EXPECT_TRUE(platform.home.exists(std::string(kProfiles) + "/B/places.sqlite"));
}

TEST_F(Cookies, ofFirefoxAreNoneInAnEmptyOrMissingFolder) {
  const testing_support::StatementJournal statements(platform.journal);
  removeCookies("Firefox");
  platform.home.folder(kProfiles);
  removeCookies("Firefox");
  EXPECT_THAT(platform.removals(), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("sql "), IsEmpty());
}

TEST_F(Cookies, ofFirefoxAreRemovedFromEveryEntryWhateverItIs) {
  const std::string profiles = std::string(kProfiles) + "/";
  platform.home.file(profiles + "file");
  platform.home.file("elsewhere/cookies.sqlite");
  platform.home.link(profiles + "link", home("elsewhere"));
  removeCookies("Firefox");
  EXPECT_THAT(platform.removals(),
              UnorderedElementsAre(profiles + "file/cookies.sqlite", profiles + "file/permissions.sqlite",
                                   profiles + "link/cookies.sqlite", profiles + "link/permissions.sqlite"));
  EXPECT_TRUE(platform.home.exists(profiles + "file"));
  EXPECT_TRUE(platform.home.exists(profiles + "link"));
  EXPECT_FALSE(platform.home.exists("elsewhere/cookies.sqlite"));
}

TEST_F(Cookies, ofChromeGoAfterTheChannelIDs) {
  listProfiles(kChrome);
  for (const char* profile : {"P", "Q"}) {
    makeChannelIDs(std::string(kChrome) + "/" + profile + "/Origin Bound Certs");
    platform.home.file(std::string(kChrome) + "/" + profile + "/Cookies");
    platform.home.file(std::string(kChrome) + "/" + profile + "/Cookies-journal");
  }
  const testing_support::StatementJournal statements(platform.journal);
  removeCookies("Google Chrome");
  std::vector<std::string> order;
  for (const std::string& entry : platform.journal.entries()) {
    if (entry.starts_with("sql ") || entry.starts_with("remove ")) order.push_back(entry);
  }
  const std::string root = home(kChrome);
  EXPECT_THAT(order, ElementsAre("sql DELETE FROM origin_bound_certs; on " + root + "/P/Origin Bound Certs",
                                 "sql DELETE FROM origin_bound_certs; on " + root + "/Q/Origin Bound Certs",
                                 "remove " + root + "/P/Cookies", "remove " + root + "/Q/Cookies"));
  EXPECT_THAT(valuesOf(root + "/P/Origin Bound Certs", "SELECT * FROM origin_bound_certs"), IsEmpty());
  EXPECT_TRUE(platform.home.exists(std::string(kChrome) + "/P/Cookies-journal"));
}

TEST_F(Cookies, ofChromeAreThoseOfTheProfilesThatWereListedBeforeTheChannelIDs) {
  listProfiles(kChrome);
  worker->removeCookies("Google Chrome");
  std::vector<std::string> order;
  for (const std::string& entry : platform.journal.entries()) {
    if (entry.starts_with("read ")) order.emplace_back("list");
    if (entry.starts_with("queue ")) order.emplace_back("queue");
  }
  // Each call of Sandbox makes a queue: for the two lists, two statements and two removals.
  EXPECT_THAT(order, ElementsAre("queue", "list", "queue", "list", "queue", "queue", "queue", "queue"));
}

TEST_F(Cookies, ofChromeWithoutProfilesStay) {
  for (const char* folder : {"/Default", ""}) {
    platform.home.file(std::string(kChrome) + folder + "/Cookies");
    makeChannelIDs(std::string(kChrome) + folder + "/Origin Bound Certs");
  }
  const testing_support::StatementJournal statements(platform.journal);
  removeCookies("Google Chrome");
  EXPECT_THAT(platform.removals(), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("sql "), IsEmpty());
  EXPECT_TRUE(platform.home.exists(std::string(kChrome) + "/Default/Cookies"));
}

TEST_F(Cookies, ofOperaAreOneFileInItsDataFolder) {
  makeChannelIDs(std::string(kOpera) + "/Origin Bound Certs");
  platform.home.file(std::string(kOpera) + "/Cookies");
  const testing_support::StatementJournal statements(platform.journal);
  removeCookies("Opera");
  EXPECT_THAT(platform.removals(), ElementsAre(std::string(kOpera) + "/Cookies"));
  EXPECT_THAT(platform.journal.entriesAfter("sql "),
              ElementsAre("DELETE FROM origin_bound_certs; on " + home(kOpera) + "/Origin Bound Certs"));
  EXPECT_TRUE(platform.home.exists(std::string(kOpera) + "/Origin Bound Certs"));
}

TEST_F(Cookies, ofAnUnknownNameAreNone) {
  listProfiles(kChromium);
  platform.home.file(std::string(kChromium) + "/P/Cookies");
  for (const char* name : {"", "chromium", "Lynx"}) removeCookies(name);
  EXPECT_THAT(platform.removals(), IsEmpty());
  EXPECT_EQ(platform.dispatch.waitingTimers(), 0U);
}

TEST_F(Cookies, channelIDsOfChromiumAreDeletedProfileByProfile) {
  listProfiles(kChromium);
  makeChannelIDs(std::string(kChromium) + "/P/Origin Bound Certs");
  makeChannelIDs(std::string(kChromium) + "/Q/Origin Bound Certs");
  worker->deleteChromeChannelID("Chromium");
  platform.dispatch.runUntilIdle();
  for (const char* profile : {"P", "Q"}) {
    const std::string file = home(std::string(kChromium) + "/" + profile + "/Origin Bound Certs");
    EXPECT_THAT(valuesOf(file, "SELECT * FROM origin_bound_certs"), IsEmpty());
  }
}

TEST_F(Cookies, channelIDsStayWhateverLiesInSafarisAndFirefoxsFoldersAndForUnknownNames) {
  listProfiles(kChrome);
  listProfiles(kChromium);
  const std::vector<std::string> folders = {
      kOpera,    std::string(kChrome) + "/P",   kChrome,   "Library/Cookies", std::string(kProfiles) + "/p",
      kChromium, std::string(kChromium) + "/P", kProfiles, "Library/Safari",  "Library"};
  for (const std::string& folder : folders) makeChannelIDs(folder + "/Origin Bound Certs");
  {
    const testing_support::StatementJournal statements(platform.journal);
    for (const char* name : {"Safari", "Firefox", "", "chromium", "Opera Next", "google chrome", "Lynx"}) {
      worker->deleteChromeChannelID(name);
      platform.dispatch.runUntilIdle();
      EXPECT_THAT(platform.journal.entriesAfter("sql "), IsEmpty()) << name;
    }
  }
  for (const std::string& folder : folders) {
    EXPECT_THAT(valuesOf(home(folder) + "/Origin Bound Certs", "SELECT origin FROM origin_bound_certs"),
                ElementsAre("a", "b"))
        << folder;
  }
}

TEST_F(Cookies, channelIDsThatAreMissingAreNotMade) {
  listProfiles(kChromium);
  platform.home.folder(std::string(kChromium) + "/P");
  worker->deleteChromeChannelID("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_FALSE(platform.home.exists(std::string(kChromium) + "/P/Origin Bound Certs"));
}

}  // namespace
