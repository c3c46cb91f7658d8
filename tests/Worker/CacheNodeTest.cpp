// Caches of each browser.

#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using testing_support::GrantedHomeTest;

constexpr char kFlashAssets[] = "Library/Caches/Adobe/Flash Player/AssetCache";
constexpr char kQuickTime[] = "Library/Caches/QuickTime/downloads";
constexpr char kSupport[] = "Library/Application Support/";

class Caches : public GrantedHomeTest {
 protected:
  std::vector<std::string> removedFor(const std::string& browserName) {
    platform.journal.clear();
    worker->removeBrowserCache(browserName);
    platform.dispatch.runUntilIdle();
    return platform.removals();
  }
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Caches, ofSafariGoInThisOrderAndNothingElseIsAskedFor) {
  EXPECT_THAT(removedFor("Safari"),
              ElementsAre("Library/Caches/com.apple.Safari/Cache.db", "Library/Caches/com.apple.Safari/fsCachedData",
                          "Library/Cookies/Cookies.plist", "Library/Cookies/HSTS.plist",
                          "Library/Caches/CloudKit/com.apple.Safari", kFlashAssets, kQuickTime));
  EXPECT_THAT(platform.journal.entriesAfter("panel "), ElementsAre());
  EXPECT_THAT(platform.log.lines(), ElementsAre());
}

TEST_F(Caches, ofAnyOtherNameAreThoseOfPluginsOnly) {
  for (const char* name : {"Lynx", "", "safari"}) EXPECT_THAT(removedFor(name), ElementsAre(kFlashAssets, kQuickTime));
}

TEST_F(Caches, ofChromeAreThoseOfItsProfiles) {
  const std::string data = std::string(kSupport) + "Google/Chrome";
  platform.home.file(data + "/Local State", R"({"profile": {"info_cache": {"A": {"name": "a"}, "B": {"name": "b"}}}})");
  EXPECT_THAT(
      removedFor("Google Chrome"),
      ElementsAre("Library/Caches/Google/Chrome/A", data + "/A/Application Cache", data + "/A/GPUCache",
                  data + "/A/TransportSecurity", "Library/Caches/Google/Chrome/B", data + "/B/Application Cache",
                  data + "/B/GPUCache", data + "/B/TransportSecurity", kFlashAssets, kQuickTime));
}

TEST_F(Caches, ofChromiumAreThoseOfItsProfiles) {
  const std::string data = std::string(kSupport) + "Chromium";
  platform.home.file(data + "/Local State", R"({"profile": {"info_cache": {"A": {"name": "a"}}}})");
  EXPECT_THAT(removedFor("Chromium"),
              ElementsAre("Library/Caches/Chromium/A", data + "/A/Application Cache", data + "/A/GPUCache",
                          data + "/A/TransportSecurity", kFlashAssets, kQuickTime));
}

TEST_F(Caches, ofChromeWithoutProfilesStay) {
  platform.home.file("Library/Caches/Google/Chrome/Default/Cache/a");
  EXPECT_THAT(removedFor("Google Chrome"), ElementsAre(kFlashAssets, kQuickTime));
  EXPECT_TRUE(platform.home.exists("Library/Caches/Google/Chrome/Default/Cache/a"));
}

TEST_F(Caches, ofOperaAreTheWholeFolderAndThreeInTheDataFolder) {
  const std::string data = std::string(kSupport) + "com.operasoftware.Opera";
  EXPECT_THAT(removedFor("Opera"),
              ElementsAre(data + "/GPUCache", "Library/Caches/com.operasoftware.Opera", data + "/Application Cache",
                          data + "/GPUCache", data + "/TransportSecurity", kFlashAssets, kQuickTime));
}

TEST_F(Caches, ofFirefoxAreThoseOfItsProfileFolders) {
  const std::string caches = "Library/Caches/Firefox/Profiles/";
  const std::string data = std::string(kSupport) + "Firefox/Profiles/";
  platform.home.file(caches + "p/Cache/a");
  platform.home.file(caches + "p/other");
  platform.home.file(caches + "file");
  platform.home.file(data + "p/SiteSecurityServiceState.txt");
  EXPECT_THAT(removedFor("Firefox"),
              ElementsAre(caches + "p/Cache", caches + "p/OfflineCache", caches + "p/startupCache",
                          data + "p/SiteSecurityServiceState.txt", kFlashAssets, kQuickTime));
  EXPECT_TRUE(platform.home.exists(caches + "file"));
  EXPECT_TRUE(platform.home.exists(caches + "p/other"));
  EXPECT_FALSE(platform.home.exists(data + "p/SiteSecurityServiceState.txt"));
}

TEST_F(Caches, ofFirefoxAreNotWhatALinkLeadsTo) {
  const std::string caches = "Library/Caches/Firefox/Profiles/";
  platform.home.file("elsewhere/Cache/a");
  platform.home.link(caches + "link", home("elsewhere"));
  EXPECT_THAT(removedFor("Firefox"), ElementsAre(kFlashAssets, kQuickTime));
  EXPECT_TRUE(platform.home.exists("elsewhere/Cache/a"));
}

TEST_F(Caches, listsOfSecureSitesAreRemovedFromEveryEntryWhateverItIs) {
  const std::string data = std::string(kSupport) + "Firefox/Profiles/";
  platform.home.file(data + "file");
  platform.home.folder(data + "profile without");
  platform.home.file("elsewhere/SiteSecurityServiceState.txt");
  platform.home.link(data + "link", home("elsewhere"));
  EXPECT_THAT(removedFor("Firefox"),
              UnorderedElementsAre(data + "file/SiteSecurityServiceState.txt",
                                   data + "profile without/SiteSecurityServiceState.txt",
                                   data + "link/SiteSecurityServiceState.txt", kFlashAssets, kQuickTime));
  EXPECT_TRUE(platform.home.exists(data + "file"));
  EXPECT_FALSE(platform.home.exists("elsewhere/SiteSecurityServiceState.txt"));
  EXPECT_THAT(platform.log.lines(), ElementsAre());
}

TEST_F(Caches, ofAnotherNameAreNotChromes) {
  platform.journal.clear();
  for (const char* name : {"Safari", "Firefox", "opera", ""}) worker->clearChromeCache(name);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.removals(), ElementsAre());
}

TEST_F(Caches, ofTheTemporaryFoldersAreFourLevelsDownAndNoDeeper) {
  const std::string root = "folders/a/b/c/";
  for (const char* name : {"MediaCache", "com.apple.Safari", "com.apple.WebKit.WebContent+com.apple.Safari",
                           "com.apple.WebProcess+com.apple.Safari", "other"}) {
    platform.home.file(root + name + "/MediaCache/x");
    platform.home.file(root + name + "/ApplicationCache.db");
  }
  platform.home.file("folders/a/b/MediaCache/x");
  platform.home.file("folders/a/b/c/d/MediaCache/x");
  platform.home.file("folders/file");
  platform.home.file("folders/a/b/e/MediaCache", "a file of that name");
  platform.home.file("elsewhere/c/MediaCache/x");
  platform.home.link("folders/a/linked", home("elsewhere"));
  platform.home.file("elsewhere/MediaCache/x");
  platform.home.link("folders/a/b/linked", home("elsewhere"));
  platform.home.link("folders/a/b/d/MediaCache", home("elsewhere/MediaCache"));
  platform.journal.clear();
  worker->clearExtraCache(home("folders/"));
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.removals(),
              UnorderedElementsAre(root + "MediaCache", root + "com.apple.Safari/ApplicationCache.db",
                                   root + "com.apple.WebKit.WebContent+com.apple.Safari/MediaCache",
                                   root + "com.apple.WebProcess+com.apple.Safari/MediaCache"));
}

TEST_F(Caches, ofTheTemporaryFoldersLieInTheSystemsOwn) {
  worker->clearExtraCache();
  EXPECT_THAT(platform.log.lines(), ElementsAre("Sandbox has denied access to /private/var/folders/"));
}

}  // namespace
