// The person's own folders are no browser's, whatever they hold and however one is told of them.

#include "Worker/homes/Home.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::HomeContents;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;
using Texts = std::vector<std::string>;

/// A home that looks like a data folder and like a profile of each family, with the person's files where stores would
/// be, and all of it granted.
class PersonalFolders : public LinuxHomeTest {
 protected:
  PersonalFolders() {
    fill("");
    platform.home.file(".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Geladen\"\n");
    for (const char* folder : {"Documents", "Geladen", ".config", ".cache", ".local/share"}) {
      fill(std::string(folder) + "/");
    }
    platform.grant(platform.home.path());
    platform.home.link("link", platform.home.path());
    platform.home.link("Disk/downloads", home("Geladen"));
  }
  /// Makes a folder look like a data folder and like a profile.
  void fill(const std::string& folder) const {
    platform.home.file(folder + "Local State", R"({"profile": {"info_cache": {"Projects": {"name": "x"}}}})");
    for (const char* mark : {"Preferences", "prefs.js", "times.json", "Projects/Preferences", "Projects/prefs.js"}) {
      platform.home.file(folder + mark);
    }
    for (const char* file :
         {"thumbnails/1.png", "minidumps/1.dmp", "Crash Reports/pending/1.dmp", "Cache/1", "cache2/1", "ShaderCache/1",
          "storage/default/https+++a.test/1", "Projects/Cache/1", "Projects/Cookies", "cookies.sqlite"}) {
      platform.home.file(folder + file);
    }
  }
  /// Lets both families quit, and expects that nothing was changed, asked for or remembered.
  void expectUntouched(const std::vector<platform::Arguments>& processes = {}) {
    const HomeContents before(platform.home);
    const platform::Value::Dictionary settings = platform.shared();
    for (const char* name : {"Chromium", "Opera", "Firefox"}) quit(name, processes);
    const HomeContents after(platform.home);
    EXPECT_THAT(after.goneSince(before), IsEmpty());
    EXPECT_THAT(after.changedSince(before), IsEmpty());
    EXPECT_THAT(after.addedSince(before), IsEmpty());
    EXPECT_EQ(platform.shared().contains(tidewell::kStartedWithKey), settings.contains(tidewell::kStartedWithKey));
    EXPECT_THAT(panels(), IsEmpty());
    for (const tidewell::Browser& each : tidewell::browsers()) {
      EXPECT_THAT(tidewell::Home::current().layout->foldersNeededBy(each), IsEmpty()) << each.name;
    }
  }
  /// Every way to name one of these folders, with "." and links in it.
  Texts namesOfPersonalFolders() const {
    const std::string parent = std::filesystem::path(platform.home.path()).parent_path();
    return {platform.home.path(),
            platform.home.path() + "/",
            parent,
            "/",
            home("Documents"),
            home("Geladen"),
            home("link"),
            home("link/Documents"),
            home("Disk/downloads"),
            home(".config"),
            home(".cache"),
            home(".local"),
            home(".local/share")};
  }

  const std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(PersonalFolders, areNoBrowsersThatWasStartedWithOne) {
  for (const std::string& folder : namesOfPersonalFolders()) {
    SCOPED_TRACE(folder);
    expectUntouched({{"browser", "--user-data-dir=" + folder}, {"browser", "-profile", folder}});
  }
}

TEST_F(PersonalFolders, areNoBrowsersThatWasRemembered) {
  platform::Value::Array setting;
  for (const char* identifier : {"org.chromium.Chromium", "com.operasoftware.Opera", "org.mozilla.firefox"}) {
    for (const std::string& folder : namesOfPersonalFolders()) {
      setting.emplace_back(platform::Value::Array{platform::Value(identifier), platform::Value(folder)});
    }
    setting.emplace_back(platform::Value::Array{platform::Value(identifier), platform::Value(home("x/.."))});
  }
  platform.shared().insert_or_assign(tidewell::kStartedWithKey, setting);
  expectUntouched();
}

TEST_F(PersonalFolders, areNoProfilesThatAListNames) {
  std::string list;
  for (const std::string& folder : namesOfPersonalFolders()) list += "[Profile0]\nPath=" + folder + "\n";
  for (const char* nested : {"../..", "../../Documents", "deep/home", "deep/documents"}) {
    list += "[Profile1]\nPath=" + std::string(nested) + "\n";
  }
  const ScratchFolder& home_ = platform.home;
  home_.file(".mozilla/firefox/profiles.ini", list);
  home_.link("Disk/home", home_.path());
  home_.link("Disk/documents", home("Documents"));
  home_.link(".mozilla/firefox/deep", home("Disk"));
  const HomeContents before(home_);
  quit("Firefox");
  const HomeContents after(home_);
  EXPECT_THAT(after.goneSince(before), IsEmpty());
  EXPECT_THAT(after.changedSince(before), IsEmpty());
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(tidewell::Home::current().layout->foldersNeededBy(browser("Firefox")),
              ElementsAre(home(".mozilla/firefox")));
}

TEST_F(PersonalFolders, areNoPlacesOfBrowsersThatLinksLeadFrom) {
  platform.home.link(".config/chromium", platform.home.path());
  platform.home.link(".config/opera", home("Documents"));
  platform.home.link(".mozilla/firefox", platform.home.path());
  platform.home.link("snap/chromium/common/chromium", home(".config"));
  expectUntouched();
}

TEST_F(PersonalFolders, areNoCachesOfABrowserThatLinksLeadFrom) {
  platform.home.file(".config/chromium/Local State", R"({"profile": {"info_cache": {"Projects": {"name": "x"}}}})");
  platform.home.file(".config/chromium/Projects/Preferences", "{}");
  platform.home.link(".cache/chromium", home("Documents"));
  const HomeContents before(platform.home);
  quit("Chromium");
  EXPECT_THAT(HomeContents(platform.home).goneSince(before), IsEmpty());
}

TEST_F(PersonalFolders, areNoProfilesOfTheChromeFamilyThatLinksLeadFrom) {
  platform.home.file(".config/chromium/Local State", R"({"profile": {"info_cache": {"home": {"name": "x"}}}})");
  platform.home.link(".config/chromium/home", platform.home.path());
  platform.home.link(".config/chromium/not listed", home("Documents"));
  const HomeContents before(platform.home);
  quit("Chromium");
  EXPECT_THAT(HomeContents(platform.home).goneSince(before), IsEmpty());
}

TEST_F(PersonalFolders, canHoldABrowsersFolder) {
  platform.home.file("Documents/portable/Local State", "{}");
  platform.home.file("Documents/portable/Default/Preferences", "{}");
  platform.home.file("Documents/portable/Default/Cookies");
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("Documents/portable")}});
  EXPECT_FALSE(platform.home.exists("Documents/portable/Default/Cookies"));
}

}  // namespace
