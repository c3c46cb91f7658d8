// Which of Flash's and Silverlight's data are removed, and which stay.

#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using testing_support::GrantedHomeTest;

constexpr char kFlash[] = "Library/Preferences/Macromedia/Flash Player";
constexpr char kSilverlight[] = "Library/Application Support/Microsoft/Silverlight";
constexpr char kChrome[] = "Library/Application Support/Google/Chrome";
constexpr char kChromium[] = "Library/Application Support/Chromium";
constexpr char kTwoProfiles[] =
    R"({"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "Work"}}}})";

class PluginData : public GrantedHomeTest {
 protected:
  void makeData() {
    platform.home.file(std::string(kFlash) + "/#SharedObjects/X/site/a.sol");
    platform.home.file(std::string(kSilverlight) + "/is/store/b");
    for (const char* browser : {kChrome, kChromium}) {
      platform.home.file(std::string(browser) + "/Local State", kTwoProfiles);
      for (const char* profile : {"/Default", "/Profile 1", "/Unlisted"}) {
        platform.home.file(std::string(browser) + profile + "/Pepper Data/Shockwave Flash/c.sol");
        platform.home.file(std::string(browser) + profile + "/Bookmarks");
      }
    }
  }
  void removeFlashAndSilverlight(const std::string& browserName) {
    worker->removeFlash(browserName);
    worker->removeSilverlight();
    platform.dispatch.runUntilIdle();
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(PluginData, ofFirefoxSafariAndOperaIsTheSystemsOwn) {
  for (const char* name : {"Firefox", "Safari", "Opera", "any other"}) {
    makeData();
    removeFlashAndSilverlight(name);
    EXPECT_FALSE(platform.home.exists(kFlash)) << name;
    EXPECT_FALSE(platform.home.exists(kSilverlight)) << name;
    EXPECT_TRUE(platform.home.exists(std::string(kChrome) + "/Default/Pepper Data/Shockwave Flash/c.sol")) << name;
  }
}

TEST_F(PluginData, ofChromeIsThatOfEachListedProfileAndSilverlights) {
  makeData();
  removeFlashAndSilverlight("Google Chrome");
  EXPECT_THAT(platform.removals(), UnorderedElementsAre(std::string(kChrome) + "/Default/Pepper Data",
                                                        std::string(kChrome) + "/Profile 1/Pepper Data", kSilverlight));
  EXPECT_FALSE(platform.home.exists(std::string(kChrome) + "/Default/Pepper Data"));
  EXPECT_FALSE(platform.home.exists(std::string(kChrome) + "/Profile 1/Pepper Data"));
  EXPECT_TRUE(platform.home.exists(std::string(kChrome) + "/Default/Bookmarks"));
  EXPECT_TRUE(platform.home.exists(std::string(kChrome) + "/Unlisted/Pepper Data/Shockwave Flash/c.sol"));
  EXPECT_TRUE(platform.home.exists(std::string(kFlash) + "/#SharedObjects/X/site/a.sol"));
}

TEST_F(PluginData, ofChromiumIsFoundByItsOwnLocalState) {
  makeData();
  platform.home.file(std::string(kChromium) + "/Local State",
                     R"({"profile": {"info_cache": {"Unlisted": {"name": "now listed"}}}})");
  removeFlashAndSilverlight("Chromium");
  EXPECT_THAT(platform.journal.entriesAfter("read "), ElementsAre(home(std::string(kChromium) + "/Local State")));
  EXPECT_THAT(platform.removals(),
              UnorderedElementsAre(std::string(kChromium) + "/Unlisted/Pepper Data", kSilverlight));
}

TEST_F(PluginData, ofChromeIsNotFoundWithoutALocalState) {
  makeData();
  platform.home.file(std::string(kChrome) + "/Local State", "");
  worker->removeFlash("Google Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.removals(), IsEmpty());
}

TEST_F(PluginData, clearChromeFlashDoesNothingForOtherBrowsers) {
  makeData();
  for (const char* name : {"Opera", "Firefox", "Safari", "google chrome", ""}) worker->clearChromeFlash(name);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.removals(), IsEmpty());
}

TEST_F(PluginData, ofAProfileKeyThatIsEmptyIsInTheDataFolder) {
  platform.home.file(std::string(kChrome) + "/Local State", R"({"profile": {"info_cache": {"": {"name": "x"}}}})");
  platform.home.file(std::string(kChrome) + "/Pepper Data/a");
  worker->clearChromeFlash("Google Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_FALSE(platform.home.exists(std::string(kChrome) + "/Pepper Data"));
}

TEST_F(PluginData, staysWhereAProfileKeyLeadsOutOfWhatWasGranted) {
  platform.elsewhere.file("Pepper Data/a");
  const std::string wayOut = "../../../../../.." + platform.elsewhere.path();
  platform.home.file(std::string(kChrome) + "/Local State",
                     R"({"profile": {"info_cache": {")" + wayOut + R"(": {"name": "x"}}}})");
  worker->clearChromeFlash("Google Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_TRUE(platform.elsewhere.exists("Pepper Data/a"));
}

}  // namespace
