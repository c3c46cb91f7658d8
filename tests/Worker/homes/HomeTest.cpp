// How homes are laid out, and where in them each browser is found.

#include "Worker/homes/Home.h"
#include "tests/support/LinuxHomeTest.h"
#include "tests/support/OrdinaryUser.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;
using tidewell::Home;
using tidewell::Installation;
using Kind = tidewell::Installation::Kind;
using Texts = std::vector<std::string>;

class HomeTest : public LinuxHomeTest {
 protected:
  HomeTest() { platform.grant(platform.home.path()); }

  void set(const char* key, const platform::Value& value) { platform.shared().insert_or_assign(key, value); }

  std::vector<Installation> installations(std::string_view name) const {
    return Home::current().layout->installationsOf(browser(name));
  }
  Installation whole(const std::string& data, const Texts& caches = {}) const {
    Installation installation{home(data), {}, Kind::kWhole};
    for (const std::string& folder : caches) installation.cacheFolders.push_back(home(folder));
    return installation;
  }
  Texts needed(std::string_view name) const {
    Texts folders = Home::current().layout->foldersNeededBy(browser(name));
    for (std::string& folder : folders) folder.erase(0, platform.home.path().size() + 1);
    return folders;
  }
};

// The layout.

TEST_F(HomeTest, isLaidOutByWhetherItHasALibrary) {
  EXPECT_EQ(Home::current().layout->name(), "XDG");
  platform.home.folder("Library");
  EXPECT_EQ(Home::current().layout->name(), "Library");
}

TEST_F(HomeTest, withALibraryOfBooksHasNone) {
  platform.home.file("Library/Melville/Moby-Dick.epub");
  EXPECT_EQ(Home::current().layout->name(), "XDG");
  for (const char* name : {"Application Support", "Caches", "Cookies", "Preferences", "Safari"}) {
    const std::string folder = platform.home.folder(std::string("Library/") + name);
    EXPECT_EQ(Home::current().layout->name(), "Library") << name;
    std::filesystem::remove(folder);
  }
  EXPECT_EQ(Home::current().layout->name(), "XDG");
}

TEST_F(HomeTest, withALibraryThatCanNotBeListedOrEnteredHasOne) {
  const testing_support::OrdinaryUser user(platform.home.path());
  platform.home.file("Library/Melville/Moby-Dick.epub");
  for (const auto permissions :
       {std::filesystem::perms::none, std::filesystem::perms::owner_exec, std::filesystem::perms::owner_read}) {
    std::filesystem::permissions(home("Library"), permissions);
    EXPECT_EQ(Home::current().layout->name(), "Library");
  }
  std::filesystem::permissions(home("Library"), std::filesystem::perms::owner_all);
}

TEST_F(HomeTest, withAFileInPlaceOfTheLibraryHasNone) {
  platform.home.file("Library");
  EXPECT_EQ(Home::current().layout->name(), "XDG");
}

TEST_F(HomeTest, withALibraryThatCanNotBeLookedAtHasOne) {
  platform.home.link("Library", "Library");  // a link to itself
  EXPECT_EQ(Home::current().layout->name(), "Library");
}

TEST_F(HomeTest, withALibraryThatLeadsNowhereHasNone) {
  platform.home.link("Library", "missing");
  EXPECT_EQ(Home::current().layout->name(), "XDG");
  platform.home.file("file");
  set("userFolder", home("file"));
  EXPECT_EQ(Home::current().layout->name(), "XDG");
}

TEST_F(HomeTest, withALinkToAFolderAsLibraryHasOne) {
  platform.home.folder("Disk");
  platform.home.link("Library", "Disk");
  EXPECT_EQ(Home::current().layout->name(), "Library");
}

TEST_F(HomeTest, isLaidOutAsTheSettingNamesIt) {
  set("homeLayout", "Library");
  EXPECT_EQ(Home::current().layout->name(), "Library");
  platform.home.folder("Library");
  set("homeLayout", "XDG");
  EXPECT_EQ(Home::current().layout->name(), "XDG");
}

TEST_F(HomeTest, isLaidOutAsFoundWhenTheSettingNamesNoLayout) {
  for (const platform::Value& value :
       {platform::Value(""), platform::Value("xdg"), platform::Value("library"), platform::Value("Library "),
        platform::Value(1), platform::Value(true), platform::Value(platform::Value::Array{"Library"})}) {
    set("homeLayout", value);
    EXPECT_EQ(Home::current().layout->name(), "XDG") << value.description();
  }
}

TEST_F(HomeTest, hasCurrentStoresCleanedByItsLayoutUnlessTheSettingSaysSo) {
  EXPECT_TRUE(Home::current().cleansCurrentStores);
  set("currentStores", false);
  EXPECT_FALSE(Home::current().cleansCurrentStores);
  platform.home.folder("Library");
  EXPECT_FALSE(Home::current().cleansCurrentStores);
  set("currentStores", true);
  EXPECT_TRUE(Home::current().cleansCurrentStores);
}

TEST_F(HomeTest, takesNothingButABooleanForCurrentStores) {
  for (const platform::Value& value :
       {platform::Value("NO"), platform::Value(0), platform::Value(1), platform::Value(platform::Value::Array{})}) {
    set("currentStores", value);
    std::filesystem::remove(home("Library"));
    EXPECT_TRUE(Home::current().cleansCurrentStores) << value.description();
    platform.home.folder("Library");
    EXPECT_FALSE(Home::current().cleansCurrentStores) << value.description();
  }
}

TEST_F(HomeTest, isThatOfThePasswordDatabaseWhenNoneIsSet) {
  platform.shared().clear();
  EXPECT_EQ(Home::current().folder.path, platform.home.path());
  set("userFolder", 7);
  EXPECT_EQ(Home::current().folder.path, platform.home.path());
}

TEST_F(HomeTest, ofNobodyHoldsNothing) {
  platform.shared().clear();
  platform.system.homeFolder.reset();
  for (const char* name : {"Safari", "Firefox", "Google Chrome", "Chromium", "Opera"}) {
    EXPECT_THAT(installations(name), IsEmpty());
    EXPECT_THAT(Home::current().layout->foldersNeededBy(browser(name)), IsEmpty());
  }
}

TEST_F(HomeTest, withALibraryHasEveryBrowserInTheOnePlaceOfTheTable) {
  platform.home.folder("Library");
  platform.home.file(".config/chromium/Local State");
  platform.system.movedConfiguration = home(".config");
  set("startedWith", platform::Value::Array{platform::Value::Array{"org.chromium.Chromium", home(".config/chromium")}});
  for (const tidewell::Browser& each : tidewell::browsers()) {
    EXPECT_EQ(Home::current().layout->knows(each), each.isOnHomesWithLibrary()) << each.name;
    EXPECT_EQ(Home::current().layout->mayHave(each), each.isOnHomesWithLibrary()) << each.name;
    if (!each.isOnHomesWithLibrary()) {
      EXPECT_THAT(Home::current().layout->installationsOf(each), IsEmpty()) << each.name;
      continue;
    }
    EXPECT_THAT(Home::current().layout->installationsOf(each),
                ElementsAre(Installation{
                    std::string(each.library.dataFolder), {std::string(each.library.cacheFolder)}, Kind::kWhole}));
  }
  EXPECT_THAT(Home::current().layout->pluginFolders(), IsEmpty());
}

// The places. EveryInstallationTest tests each of them.

TEST_F(HomeTest, canHoldSeveralInstallations) {
  for (const char* folder : {".mozilla/firefox", ".config/mozilla/firefox", ".cache/mozilla/firefox",
                             "snap/firefox/common/.mozilla/firefox", "snap/firefox/common/.cache/mozilla/firefox"}) {
    platform.home.folder(folder);
  }
  EXPECT_THAT(installations("Firefox"), ElementsAre(whole(".config/mozilla/firefox", {".cache/mozilla/firefox"}),
                                                    whole(".mozilla/firefox", {".cache/mozilla/firefox"}),
                                                    whole("snap/firefox/common/.mozilla/firefox",
                                                          {"snap/firefox/common/.cache/mozilla/firefox"})));
  EXPECT_THAT(needed("Firefox"),
              ElementsAre(".config/mozilla/firefox", ".cache/mozilla/firefox", ".mozilla/firefox",
                          "snap/firefox/common/.mozilla/firefox", "snap/firefox/common/.cache/mozilla/firefox"));
}

TEST_F(HomeTest, needsPluginFoldersWhereThereAreAny) {
  platform.home.file(".config/opera/Local State");
  platform.home.folder(".adobe");
  EXPECT_THAT(needed("Opera"), ElementsAre(".config/opera", ".adobe"));
  platform.home.folder(".macromedia");
  EXPECT_THAT(needed("Opera"), ElementsAre(".config/opera", ".macromedia", ".adobe"));
}

TEST_F(HomeTest, withoutALibraryHasNoSafari) {
  platform.home.folder(".adobe");
  EXPECT_FALSE(Home::current().layout->mayHave(browser("Safari")));
  EXPECT_THAT(needed("Safari"), IsEmpty());
}

TEST_F(HomeTest, canHaveLinksInPlaceOfFolders) {
  platform.home.file("Disk/data/Local State");
  platform.home.folder("Disk/caches");
  platform.home.link(".config/chromium", "../Disk/data");
  platform.home.link(".cache", "Disk");
  platform.home.link("Disk/chromium", "caches");
  platform.home.link(".config/opera", "nowhere");
  EXPECT_THAT(installations("Chromium"), ElementsAre(whole(".config/chromium", {".cache/chromium"})));
  EXPECT_THAT(installations("Opera"), IsEmpty());
}

// Folders that the session has moved.

TEST_F(HomeTest, hasItsFoldersAlsoWhereTheSessionHasMovedThem) {
  const ScratchFolder moved;
  platform.system.movedConfiguration = moved.path("settings");
  platform.system.movedCaches = moved.path("caches");
  moved.file("settings/chromium/Local State");
  moved.folder("caches/chromium");
  const Installation there{moved.path("settings/chromium"), {moved.path("caches/chromium")}, Kind::kWhole};
  EXPECT_THAT(installations("Chromium"), ElementsAre(there));
  // Browsers that were started without these variables use the usual folders.
  platform.home.file(".config/chromium/Local State");
  platform.home.folder(".cache/chromium");
  EXPECT_THAT(
      installations("Chromium"),
      ElementsAre(
          Installation{
              moved.path("settings/chromium"), {moved.path("caches/chromium"), home(".cache/chromium")}, Kind::kWhole},
          Installation{
              home(".config/chromium"), {moved.path("caches/chromium"), home(".cache/chromium")}, Kind::kWhole}));
  // Places outside of ~/.config and ~/.cache don't move.
  moved.folder("settings/.mozilla/firefox");
  EXPECT_THAT(installations("Firefox"), IsEmpty());
  moved.folder("settings/mozilla/firefox");
  EXPECT_THAT(installations("Firefox"),
              ElementsAre(Installation{moved.path("settings/mozilla/firefox"), {}, Kind::kWhole}));
}

TEST_F(HomeTest, hasItsFoldersOnceWhenTheyWereMovedToWhereTheyUsuallyAre) {
  platform.system.movedConfiguration = home(".config");
  platform.system.movedCaches = home(".cache");
  platform.home.file(".config/google-chrome/Local State");
  platform.home.folder(".cache/google-chrome");
  EXPECT_THAT(installations("Google Chrome"), ElementsAre(whole(".config/google-chrome", {".cache/google-chrome"})));
}

TEST_F(HomeTest, hasNoCachesThatAreItsDataOrInThem) {
  platform.home.file("all/chromium/Local State");
  platform.system.movedConfiguration = platform.system.movedCaches = home("all");
  EXPECT_THAT(installations("Chromium"), ElementsAre(whole("all/chromium")));
  platform.home.folder("all/chromium/caches/chromium");
  platform.system.movedCaches = home("all/chromium/caches");
  EXPECT_THAT(installations("Chromium"), ElementsAre(whole("all/chromium")));
  platform.home.file("caches/chromium/settings/chromium/Local State");  // and the other way round
  platform.system.movedConfiguration = home("caches/chromium/settings");
  platform.system.movedCaches = home("caches");
  EXPECT_THAT(installations("Chromium"), ElementsAre(whole("caches/chromium/settings/chromium")));
}

TEST_F(HomeTest, hasNoCachesThatAreTheDataOfAnotherInstallation) {
  platform.home.file("all/chromium/Local State");
  platform.home.file(".config/chromium/Local State");
  platform.home.folder(".cache/chromium");
  platform.system.movedConfiguration = platform.system.movedCaches = home("all");
  EXPECT_THAT(installations("Chromium"),
              ElementsAre(whole("all/chromium", {".cache/chromium"}), whole(".config/chromium", {".cache/chromium"})));
}

TEST_F(HomeTest, hasNoCachesThatLinksMakeItsData) {
  platform.home.file(".config/chromium/Local State");
  platform.home.link(".cache", ".config");
  EXPECT_THAT(installations("Chromium"), ElementsAre(whole(".config/chromium")));
}

}  // namespace
