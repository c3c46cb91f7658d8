// Where Firefox's profiles are found on a home without a Library.

#include <sys/stat.h>

#include "Worker/homes/Home.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using testing_support::LinuxHomeTest;
using Texts = std::vector<std::string>;

std::string list(const std::string& path, const std::string& isRelative = "0") {
  return "[Profile0]\nName=ann\nIsRelative=" + isRelative + "\nPath=" + path + "\nDefault=1\n";
}

class ProfilesOfFirefox : public LinuxHomeTest {
 protected:
  ProfilesOfFirefox() { platform.grant(platform.home.folder(".mozilla/firefox")); }

  Texts found() {
    const tidewell::Home current = tidewell::Home::current();
    Texts profiles;
    for (const auto& installation : current.layout->installationsOf(browser("Firefox"))) {
      for (const std::string& profile : current.layout->storeFoldersOf(browser("Firefox"), installation).profiles) {
        profiles.push_back(profile.substr(platform.home.path().size() + 1));
      }
    }
    return profiles;
  }

  const std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(ProfilesOfFirefox, areTheFoldersBesideTheListAndThoseThatItPlacesElsewhere) {
  platform.home.file(".mozilla/firefox/ann.default/prefs.js");
  platform.home.file(".mozilla/firefox/Deeper/ann.work/times.json");  // new, and never used so far
  platform.home.file("Disk/ann.apart/prefs.js");
  platform.grant(home("Disk/ann.apart"));
  platform.home.file(".mozilla/firefox/installs.ini");
  platform.home.file(".mozilla/firefox/profiles.ini",
                     list("ann.default", "1") + list(home("Disk/ann.apart")) + list("Deeper/ann.work", "1") +
                         list("Deeper/missing", "1") + list(home("Disk/missing")) + list(home("Disk/ann.apart")) +
                         list(home(".mozilla/firefox/ann.default")) + list(home(".mozilla/firefox/installs.ini")));
  EXPECT_THAT(found(), UnorderedElementsAre(".mozilla/firefox/ann.default", ".mozilla/firefox/Deeper/ann.work",
                                            "Disk/ann.apart"));
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(ProfilesOfFirefox, thatLieDeeperAreCleanedWithTheirCaches) {
  platform.grant(platform.home.folder(".cache/mozilla/firefox"));
  platform.home.file(".mozilla/firefox/profiles.ini", list("Deeper/ann", "1"));
  platform.home.file(".mozilla/firefox/Deeper/ann/cookies.sqlite");
  platform.home.file(".mozilla/firefox/Deeper/ann/prefs.js");
  platform.home.file(".cache/mozilla/firefox/Deeper/ann/cache2/entries/1");
  quit("Firefox");
  EXPECT_THAT(platform.home.tree(".mozilla/firefox/Deeper/ann"), ElementsAre("prefs.js: content"));
  EXPECT_THAT(platform.home.tree(".cache/mozilla/firefox/Deeper/ann"), IsEmpty());
}

TEST_F(ProfilesOfFirefox, canHaveTheirCachesInThemWhereASessionHasMovedBothToOnePlace) {
  platform.system.movedConfiguration = platform.system.movedCaches = home("all");
  std::filesystem::remove_all(home(".mozilla"));
  platform.home.file("all/mozilla/firefox/ann/cache2/entries/1");
  platform.home.file("all/mozilla/firefox/ann/startupCache/1");
  platform.home.file("all/mozilla/firefox/ann/prefs.js");
  platform.grant(home("all/mozilla/firefox"));
  quit("Firefox");
  EXPECT_THAT(platform.home.tree("all/mozilla/firefox/ann"), ElementsAre("prefs.js: content"));
}

TEST_F(ProfilesOfFirefox, areNoLinks) {
  platform.home.file("Disk/ann/prefs.js");
  platform.home.file("Disk/ann/cookies.sqlite");
  platform.home.file("Disk/ann/storage/default/https+++a.test/x");
  platform.home.link(".mozilla/firefox/linked", home("Disk/ann"));
  EXPECT_THAT(found(), IsEmpty());
  quit("Firefox");
  EXPECT_TRUE(platform.home.exists("Disk/ann/cookies.sqlite"));
  EXPECT_TRUE(platform.home.exists("Disk/ann/storage/default/https+++a.test/x"));
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(ProfilesOfFirefox, areNoFoldersWithoutTheFilesOfOne) {
  platform.home.file(".mozilla/firefox/profiles.ini",
                     list("Deeper/ann", "1") + list(home("Disk/ann")) + list(home("Disk/pipe")));
  platform.grant(platform.home.folder("Disk"));
  platform.home.file(".mozilla/firefox/ann/Cookies/prefs.js");
  platform.home.link(".mozilla/firefox/Deeper/ann/prefs.js", platform.home.file("Disk/ann/Preferences"));
  platform.home.folder("Disk/ann/times.json");
  ASSERT_EQ(::mkfifo((platform.home.folder("Disk/pipe") + "/prefs.js").c_str(), 0600), 0);
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(ProfilesOfFirefox, haveNoCachesWithoutTheirData) {
  platform.home.file(".cache/mozilla/firefox/gone/cache2/entries/1");
  platform.home.file(".cache/mozilla/firefox/ann/cache2/entries/1");
  platform.home.file(".mozilla/firefox/ann/times.json");
  platform.grant(home(".cache/mozilla/firefox"));
  quit("Firefox");
  EXPECT_TRUE(platform.home.exists(".cache/mozilla/firefox/gone/cache2/entries/1"));
  EXPECT_FALSE(platform.home.exists(".cache/mozilla/firefox/ann/cache2"));
}

TEST_F(ProfilesOfFirefox, elsewhereThatWereNotGrantedAreLeft) {
  platform.home.file(".mozilla/firefox/profiles.ini", list(home("Disk/ann")));
  platform.home.file("Disk/ann/prefs.js");
  platform.home.file("Disk/ann/cookies.sqlite");
  platform.home.file(".mozilla/firefox/ann.default/prefs.js");
  platform.home.file(".mozilla/firefox/ann.default/cookies.sqlite");
  quit("Firefox");
  EXPECT_TRUE(platform.home.exists("Disk/ann/cookies.sqlite"));
  EXPECT_FALSE(platform.home.exists(".mozilla/firefox/ann.default/cookies.sqlite"));
}

}  // namespace
