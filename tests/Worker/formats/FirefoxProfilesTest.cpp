// Firefox's list of profiles, and where its profiles are found.

#include "Worker/formats/FirefoxProfiles.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;
using testing_support::LinuxHomeTest;
using tidewell::absoluteProfiles;
using tidewell::nestedProfiles;
using Texts = std::vector<std::string>;

std::string list(const std::string& path, const std::string& isRelative = "0") {
  return "[Profile0]\nName=ann\nIsRelative=" + isRelative + "\nPath=" + path + "\nDefault=1\n";
}

TEST(FirefoxProfiles, placedByAWholePathAreFoundAlone) {
  EXPECT_THAT(
      absoluteProfiles("[Install4F96D1932A9F858E]\nDefault=Profiles/x\n\n" + list("ann.default", "1") +
                       "\n[Profile1]\nIsRelative=0\nPath=/srv/ann\n\n[Profile2]\nPath=/srv/b b/c\nIsRelative=0\n"
                       "[General]\nVersion=2\nPath=/no/profile\n"),
      ElementsAre("/srv/ann", "/srv/b b/c"));
}

TEST(FirefoxProfiles, mayBeListedInAnyFormOfText) {
  EXPECT_THAT(absoluteProfiles("[Profile0]\r\nPath=/srv/ann\r\n"), ElementsAre("/srv/ann"));
  EXPECT_THAT(absoluteProfiles("  [Profile0]\n\t Path=/srv//ann/ \t"), ElementsAre("/srv/ann"));
  EXPECT_THAT(absoluteProfiles("[Profile0]\nPath=/srv/ann"), ElementsAre("/srv/ann"));
  EXPECT_THAT(absoluteProfiles("[Profile0]\nPath=/srv/\xff"), ElementsAre("/srv/\xff"));
}

TEST(FirefoxProfiles, areNoneThatLeadUpOrNowhere) {
  for (const char* path : {"", "/", "//", "..", "../x", "/srv/../etc", "/srv/./ann", "/..", "ann", "./ann/x",
                           "ann/../x", "a/..", "~/x/.."}) {
    EXPECT_THAT(absoluteProfiles(list(path)), IsEmpty()) << path;
    EXPECT_THAT(nestedProfiles(list(path, "1")), IsEmpty()) << path;
  }
  EXPECT_THAT(absoluteProfiles("Path=/srv/ann\n"), IsEmpty());
  EXPECT_THAT(absoluteProfiles(""), IsEmpty());
  EXPECT_THAT(absoluteProfiles("[Profile0]\n# Path=/srv/ann\n;Path=/srv/b\npath=/srv/c\n"), IsEmpty());
}

TEST(FirefoxProfiles, mayLieDeeper) {
  EXPECT_THAT(nestedProfiles(list("Profiles/ann.default", "1") + list("ann", "1") + list("/srv/ann")),
              ElementsAre("Profiles/ann.default"));
}

TEST(FirefoxProfiles, canBeMany) {
  std::string many;
  for (int number = 0; number < 100'000; ++number) many += list("/srv/" + std::to_string(number));
  EXPECT_THAT(absoluteProfiles(many), SizeIs(100'000));
  EXPECT_THAT(absoluteProfiles(std::string(10'000'000, '\n')), IsEmpty());
  EXPECT_THAT(absoluteProfiles("[Profile0]\nPath=/" + std::string(10'000'000, 'a')), SizeIs(1));
}

class ProfilesOfFirefox : public LinuxHomeTest {
 protected:
  ProfilesOfFirefox() { platform.grant(platform.home.folder(".mozilla/firefox")); }

  Texts found() {
    Texts profiles = worker->firefoxProfiles();
    for (std::string& profile : profiles) profile.erase(0, platform.home.path().size() + 1);
    return profiles;
  }

  const std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(ProfilesOfFirefox, areTheFoldersBesideTheListAndThoseThatItPlacesElsewhere) {
  platform.home.folder(".mozilla/firefox/ann.default");
  platform.home.folder(".mozilla/firefox/Deeper/ann.work");
  platform.grant(platform.home.folder("Disk/ann.apart"));
  platform.home.file(".mozilla/firefox/installs.ini");
  platform.home.file(".mozilla/firefox/profiles.ini",
                     list("ann.default", "1") + list(home("Disk/ann.apart")) + list("Deeper/ann.work", "1") +
                         list("Deeper/missing", "1") + list(home("Disk/missing")) + list(home("Disk/ann.apart")) +
                         list(home(".mozilla/firefox/ann.default")) + list(home(".mozilla/firefox/installs.ini")));
  EXPECT_THAT(found(), UnorderedElementsAre(".mozilla/firefox/ann.default", ".mozilla/firefox/Deeper",
                                            ".mozilla/firefox/Deeper/ann.work", "Disk/ann.apart"));
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
  platform.home.file("Disk/ann/cookies.sqlite");
  platform.home.file("Disk/ann/storage/default/https+++a.test/x");
  platform.home.link(".mozilla/firefox/linked", home("Disk/ann"));
  EXPECT_THAT(found(), IsEmpty());
  quit("Firefox");
  EXPECT_TRUE(platform.home.exists("Disk/ann/cookies.sqlite"));
  EXPECT_TRUE(platform.home.exists("Disk/ann/storage/default/https+++a.test/x"));
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(ProfilesOfFirefox, elsewhereThatWereNotGrantedAreLeft) {
  platform.home.file(".mozilla/firefox/profiles.ini", list(home("Disk/ann")));
  platform.home.file("Disk/ann/cookies.sqlite");
  platform.home.file(".mozilla/firefox/ann.default/cookies.sqlite");
  quit("Firefox");
  EXPECT_TRUE(platform.home.exists("Disk/ann/cookies.sqlite"));
  EXPECT_FALSE(platform.home.exists(".mozilla/firefox/ann.default/cookies.sqlite"));
}

}  // namespace
