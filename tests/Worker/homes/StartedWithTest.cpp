// Folders that browsers were started with.

#include "Worker/homes/Home.h"
#include "Worker/homes/StartedWith.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;
using Texts = std::vector<std::string>;

class StartedWithTest : public LinuxHomeTest {
 protected:
  Texts named(std::string_view browserName, Texts arguments) const {
    arguments.insert(arguments.begin(), "/usr/bin/browser");
    return tidewell::foldersNamedIn(arguments, browser(browserName), tidewell::Home::current().folder.eyes.isFolder);
  }
  /// Both return the whole path of the folder.
  std::string makeDataFolder(const std::string& folder) const {
    platform.home.file(folder + "/Local State");
    return home(folder);
  }
  std::string makeProfile(const std::string& folder) const {
    platform.home.file(folder + "/prefs.js");
    return home(folder);
  }

  /// The remembered folders, relative to the home folder.
  Texts remembered() const {
    Texts folders;
    for (const tidewell::StartedWith& started : tidewell::Home::current().folder.startedWith) {
      const bool isInHome = started.folder.starts_with(platform.home.path() + "/");
      folders.push_back(started.bundleIdentifier + " " +
                        (isInHome ? started.folder.substr(platform.home.path().size() + 1) : started.folder));
    }
    return folders;
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

// Folders in the arguments.

TEST_F(StartedWithTest, isTheDataFolderOfTheChromeFamily) {
  const std::string folder = platform.home.folder("work");
  for (const char* name : {"Chromium", "Google Chrome", "Opera"}) {
    EXPECT_THAT(named(name, {"--no-first-run", "--user-data-dir=" + folder, "https://a.test"}), ElementsAre(folder));
    EXPECT_THAT(named(name, {"--user-data-dir=" + folder + "/"}), ElementsAre(folder));
    EXPECT_THAT(named(name, {"-profile", folder}), IsEmpty());
  }
  EXPECT_THAT(named("Firefox", {"--user-data-dir=" + folder}), IsEmpty());
}

TEST_F(StartedWithTest, isTheProfileOfFirefox) {
  const std::string folder = platform.home.folder("work");
  EXPECT_THAT(named("Firefox", {"-profile", folder}), ElementsAre(folder));
  EXPECT_THAT(named("Firefox", {"--new-instance", "--profile", folder, "https://a.test"}), ElementsAre(folder));
  EXPECT_THAT(named("Firefox", {"-profile"}), IsEmpty());
  EXPECT_THAT(named("Firefox", {"-P", folder}), IsEmpty());
  EXPECT_THAT(named("Safari", {"-profile", folder}), IsEmpty());
}

TEST_F(StartedWithTest, isNothingThatIsNotAFolderByAWholePath) {
  platform.home.folder("work/inside");
  platform.home.file("file");
  const std::string above = home("work/inside/../../work");
  const std::string nul = home("work") + std::string("\0", 1) + "x";
  for (const std::string& folder :
       {std::string("work"), std::string("./work"), std::string("~/work"), std::string(), home("missing"), home("file"),
        above, home("work/.."), std::string("/"), std::string("//"), nul}) {
    EXPECT_THAT(named("Chromium", {"--user-data-dir=" + folder}), IsEmpty()) << folder;
    EXPECT_THAT(named("Firefox", {"-profile", folder}), IsEmpty()) << folder;
  }
}

TEST_F(StartedWithTest, isNeverTheProgramItself) {
  const std::string folder = platform.home.folder("work");
  EXPECT_THAT(tidewell::foldersNamedIn({"--user-data-dir=" + folder}, browser("Chromium"),
                                       tidewell::Home::current().folder.eyes.isFolder),
              IsEmpty());
  EXPECT_THAT(tidewell::foldersNamedIn({}, browser("Chromium"), tidewell::Home::current().folder.eyes.isFolder),
              IsEmpty());
}

TEST_F(StartedWithTest, mayHaveBlanksInItsName) {
  const std::string folder = platform.home.folder("my own browser");
  EXPECT_THAT(named("Chromium", {"--user-data-dir=" + folder}), ElementsAre(folder));
  // The same name when the arguments were joined by blanks and split at them.
  EXPECT_THAT(named("Chromium", {"--user-data-dir=" + home("my"), "own", "browser", "--flag", "x"}),
              ElementsAre(folder));
  EXPECT_THAT(named("Firefox", {"--profile", home("my"), "own", "browser", "https://a.test"}), ElementsAre(folder));
  EXPECT_THAT(named("Chromium", {"--user-data-dir=" + home("my"), "own", "--flag", "browser"}), IsEmpty());
}

TEST_F(StartedWithTest, isTheLongestOfSeveralThatTheBlanksAllow) {
  const std::string shorter = platform.home.folder("Chromium");
  const std::string longer = platform.home.folder("Chromium at work");
  EXPECT_THAT(named("Chromium", {"--user-data-dir=" + shorter, "at", "work", "https://a.test"}), ElementsAre(longer));
  EXPECT_THAT(named("Chromium", {"--user-data-dir=" + shorter, "at", "home"}), ElementsAre(shorter));
}

TEST_F(StartedWithTest, takesNoTimeOverManyWords) {
  const std::string folder = platform.home.folder("work");
  Texts words(200'000, "word");
  words.insert(words.begin(), "--user-data-dir=" + folder);
  EXPECT_THAT(named("Chromium", words), ElementsAre(folder));
}

// The setting.

TEST_F(StartedWithTest, passesOverWhatASettingMayHoldInstead) {
  using platform::Value;
  const Value::Array entries = {Value::Array{"org.chromium.Chromium", "/a"},
                                Value::Array{"org.chromium.Chromium"},
                                Value::Array{"org.chromium.Chromium", "/a", "/b"},
                                Value::Array{"org.chromium.Chromium", "relative"},
                                Value::Array{"org.chromium.Chromium", 7},
                                Value::Array{true, "/a"},
                                "org.chromium.Chromium",
                                Value::Dictionary{},
                                Value::Array{"org.mozilla.firefox", "/b"}};
  EXPECT_THAT(tidewell::startedWithFrom(entries), ElementsAre(tidewell::StartedWith{"org.chromium.Chromium", "/a"},
                                                              tidewell::StartedWith{"org.mozilla.firefox", "/b"}));
  EXPECT_THAT(tidewell::startedWithFrom(std::nullopt), IsEmpty());
}

// Remembering the folders of a quit.

TEST_F(StartedWithTest, isRememberedAndCleanedByBothRuns) {
  platform.home.file("work/Local State", "{}");
  platform.home.file("work/Default/Preferences", "{}");
  platform.home.file("work/Default/Cookies");
  platform.home.file("work/Default/Cache/data_0");
  platform.home.file("work/Default/Bookmarks");
  platform.grant(home("work"));
  enable({"org.chromium.Chromium"});
  platform.workspace.quit("Chromium", "org.chromium.Chromium", {{"chromium", "--user-data-dir=" + home("work")}});
  EXPECT_THAT(remembered(), ElementsAre("org.chromium.Chromium work"));
  platform.dispatch.advance(std::chrono::seconds(2));
  EXPECT_THAT(platform.home.tree("work/Default"), ElementsAre("Bookmarks: content", "Preferences: {}"));
  platform.home.file("work/Default/Cookies");
  platform.dispatch.advance(std::chrono::seconds(60));
  EXPECT_FALSE(platform.home.exists("work/Default/Cookies"));
  platform.home.file("work/Default/Cookies");
  quit("Chromium");  // a quit without arguments
  EXPECT_FALSE(platform.home.exists("work/Default/Cookies"));
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(StartedWithTest, asAProfileOfFirefoxIsCleanedWithTheCachesInIt) {
  for (const char* file : {"cookies.sqlite", "storage/default/https+++a.test/x", "cache2/entries/1", "Cache/x",
                           "SiteSecurityServiceState.txt", "prefs.js", "storage/default/moz-extension+++1/x"}) {
    platform.home.file(std::string("work/") + file);
  }
  platform.grant(home("work"));
  quit("Firefox", {{"firefox", "-profile", home("work")}});
  EXPECT_THAT(platform.home.tree("work"),
              ElementsAre("prefs.js: content", "storage/", "storage/default/", "storage/default/moz-extension+++1/",
                          "storage/default/moz-extension+++1/x: content"));
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(StartedWithTest, amongTheProgramsSettingsHasItsCachesAmongTheirCaches) {
  platform.home.file(".config/work/Local State", "{}");
  platform.home.file(".config/work/Default/Preferences", "{}");
  platform.home.file(".cache/work/Default/Cache/data_0");
  platform.home.file(".cache/other/Default/Cache/data_0");
  platform.grant(home(".config/work"));
  platform.grant(home(".cache/work"));
  quit("Chromium", {{"chromium", "--user-data-dir=" + home(".config/work")}});
  EXPECT_FALSE(platform.home.exists(".cache/work/Default/Cache"));
  EXPECT_TRUE(platform.home.exists(".cache/other/Default/Cache/data_0"));
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(StartedWithTest, isAskedForByLaterRequests) {
  makeDataFolder("work");
  makeProfile("other");
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("work")}});
  quit("Firefox", {{"firefox", "--profile", home("other")}});
  platform.journal.clear();
  for (const char* identifier : {"org.chromium.Chromium", "org.mozilla.firefox", "com.google.Chrome"}) {
    worker->answerFrom_reply(identifier, [](const std::string&) {});
  }
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), ElementsAre("work", "other"));
}

TEST_F(StartedWithTest, isNotRememberedOfABrowserThatIsNotEnabled) {
  makeDataFolder("work");
  platform.workspace.quit("Chromium", "org.chromium.Chromium", {{"chromium", "--user-data-dir=" + home("work")}});
  EXPECT_THAT(remembered(), IsEmpty());
}

TEST_F(StartedWithTest, isRememberedOnce) {
  makeDataFolder("work");
  makeDataFolder("work/Default");
  const Texts arguments = {"chromium", "--user-data-dir=" + home("work")};
  quit("Chromium", {arguments, {"chromium", "--flag", "--user-data-dir=" + home("work")}, arguments});
  quit("Chromium", {arguments});
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("work/Default")}});
  EXPECT_THAT(remembered(), ElementsAre("org.chromium.Chromium work"));
  EXPECT_THAT(platform.journal.entriesAfter("set startedWith"), SizeIs(1));
}

TEST_F(StartedWithTest, isNotRememberedOfAUsualPlaceOrOneInIt) {
  makeDataFolder(".config/chromium");
  makeDataFolder(".config/chromium/Default");
  makeProfile(".mozilla/firefox/ann.default");
  quit("Chromium", {{"chromium", "--user-data-dir=" + home(".config/chromium")}});
  quit("Chromium", {{"chromium", "--user-data-dir=" + home(".config/chromium/Default")}});
  quit("Firefox", {{"firefox", "-profile", home(".mozilla/firefox/ann.default")}});
  EXPECT_THAT(remembered(), IsEmpty());
  EXPECT_FALSE(platform.shared().contains(tidewell::kStartedWithKey));
}

TEST_F(StartedWithTest, isNotRememberedOfATemporaryFolderOutsideTheHome) {
  const ScratchFolder temporary;
  temporary.file("Local State");
  quit("Chromium", {{"chromium", "--user-data-dir=" + temporary.path()},
                    {"chromium", "--user-data-dir=/tmp"},
                    {"chromium", "--user-data-dir=/dev/shm"}});
  EXPECT_THAT(remembered(), IsEmpty());
  makeDataFolder("tmp/work");  // not /tmp, though the home itself is in /tmp
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("tmp/work")}});
  EXPECT_THAT(remembered(), ElementsAre("org.chromium.Chromium tmp/work"));
}

TEST_F(StartedWithTest, givesWayToNewOnesWhenThereAreTooMany) {
  for (int number = 0; number < 20; ++number) {
    quit("Chromium", {{"chromium", "--user-data-dir=" + makeDataFolder("work" + std::to_string(number))}});
  }
  const Texts folders = remembered();
  ASSERT_THAT(folders, SizeIs(16));
  EXPECT_EQ(folders.front(), "org.chromium.Chromium work4");
  EXPECT_EQ(folders.back(), "org.chromium.Chromium work19");
}

TEST_F(StartedWithTest, isNotRememberedOfAFolderThatTheBrowserHasPutNothingIn) {
  platform.home.folder("work/Local State");
  platform.home.link("linked/Local State", platform.home.file("elsewhere"));
  platform.home.file("profile/Preferences");
  for (const char* folder : {"work", "linked", "profile"}) {
    quit("Chromium", {{"chromium", "--user-data-dir=" + home(folder)}});
    quit("Firefox", {{"firefox", "-profile", home(folder)}});
  }
  EXPECT_THAT(remembered(), IsEmpty());
}

TEST_F(StartedWithTest, isNotRememberedOnAHomeWithALibrary) {
  platform.home.folder("Library");
  makeDataFolder("work");
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("work")}});
  EXPECT_FALSE(platform.shared().contains(tidewell::kStartedWithKey));
}

TEST_F(StartedWithTest, isRememberedWithoutAPanel) {
  platform.home.file(".mozilla/firefox/profiles.ini", "[Profile0]\nPath=/srv/ann\nIsRelative=0\n");
  makeProfile("work");
  enable({"org.mozilla.firefox"});
  platform.workspace.quit("Firefox", "org.mozilla.firefox", {{"firefox", "-profile", home("work")}});
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(remembered(), ElementsAre("org.mozilla.firefox work"));
}

TEST_F(StartedWithTest, thatHasGoneMeanwhileIsPassedOver) {
  makeDataFolder("work");
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("work")}});
  std::filesystem::remove_all(home("work"));
  platform.journal.clear();
  quit("Chromium");
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("remove "), IsEmpty());
}

}  // namespace
