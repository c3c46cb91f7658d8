// The home as the main application sees it, whatever lies in it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "MainApplication/client/SettingsStore.h"
#include "Worker/Identity.h"
#include "Worker/formats/ProfilesIni.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using ::testing::ElementsAre;
using tidewell::Installation;
using Installations = std::vector<Installation>;

class HomeOfSettings : public ::testing::Test {
 protected:
  HomeOfSettings() {
    domains.fileOfDomain(tidewell::kSharedSuite)->write(tidewell::kUserFolderKey, home.path());
    home.file("Disk/ann/prefs.js");
  }
  Installations firefox() const {
    const tidewell::Home current = settings.home();
    return current.layout->installationsOf(*tidewell::browserNamed("Firefox"));
  }
  testing_support::ScratchFolder home;
  testing_support::ScratchFolder settingsFolder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{settingsFolder.path(), "own", log};
  tidewell::SettingsStore settings{domains};
  const Installation data{home.path(".mozilla/firefox"), {}};
  const std::string list = "[Profile0]\nPath=" + home.path("Disk/ann") + "\n";
};

TEST_F(HomeOfSettings, hasTheProfilesElsewhereThatAListNames) {
  home.file(".mozilla/firefox/profiles.ini", list);
  EXPECT_THAT(firefox(), ElementsAre(data, Installation{home.path("Disk/ann"), {}, Installation::Kind::kProfile}));
}

TEST_F(HomeOfSettings, isSeenWithoutWaitingForAListThatIsAPipe) {
  home.folder(".mozilla/firefox");
  ASSERT_EQ(::mkfifo(home.path(".mozilla/firefox/profiles.ini").c_str(), 0600), 0);
  EXPECT_THAT(firefox(), ElementsAre(data));
}

TEST_F(HomeOfSettings, isSeenWithoutAListThatHasNoEnd) {
  home.link(".mozilla/firefox/profiles.ini", "/dev/zero");
  EXPECT_THAT(firefox(), ElementsAre(data));
  std::filesystem::remove(home.path(".mozilla/firefox/profiles.ini"));
  home.file(".mozilla/firefox/profiles.ini", list);
  std::filesystem::resize_file(home.path(".mozilla/firefox/profiles.ini"), std::uintmax_t{1} << 40);
  EXPECT_THAT(firefox(), ElementsAre(data));
}

TEST_F(HomeOfSettings, isNoFolderOfABrowserThatWasStartedWithIt) {
  using platform::Value;
  home.file("prefs.js");
  home.link("linked", home.path());
  home.folder(".mozilla/firefox");
  Value::Array setting;
  for (const std::string& folder : {home.path(), home.path("linked"), std::string("/")}) {
    setting.emplace_back(Value::Array{Value("org.mozilla.firefox"), Value(folder)});
  }
  domains.fileOfDomain(tidewell::kSharedSuite)->write(tidewell::kStartedWithKey, setting);
  EXPECT_THAT(firefox(), ElementsAre(data));
}

TEST_F(HomeOfSettings, isSeenWithoutAListThatIsLargerThanTheWorkerReads) {
  home.file(".mozilla/firefox/profiles.ini", list + std::string(tidewell::kLargestProfilesIni, '\n'));
  EXPECT_THAT(firefox(), ElementsAre(data));
}

TEST_F(HomeOfSettings, isNotAllowedByAGrantThatTheWorkerPassesOver) {
  home.folder(".mozilla/firefox");
  const auto grant = [this](const std::string& path) {
    domains.fileOfDomain(tidewell::kBundleIdentifier)
        ->write("bd_" + platform::FileURL(path, true).absoluteString(), true);
  };
  const tidewell::Browser& browser = *tidewell::browserNamed("Firefox");
  home.link("outward", "/");
  for (const std::string& path : {std::string("/"), std::string("/tmp"), home.path("outward")}) grant(path);
  EXPECT_FALSE(settings.isGranted(home.path(".mozilla/firefox")));
  EXPECT_EQ(settings.allowed(browser), tidewell::SettingsStore::Allowed::kNone);
  grant(home.path());  // the home itself is not too wide
  EXPECT_TRUE(settings.isGranted(home.path(".mozilla/firefox")));
}

TEST_F(HomeOfSettings, withALibraryIsAllowedByAnyGrantSinceItsOperationsTakeThem) {
  home.folder("Library");
  domains.fileOfDomain(tidewell::kBundleIdentifier)->write("bd_file:///", true);
  EXPECT_TRUE(settings.isGranted(home.path("Library/Caches")));
}

TEST_F(HomeOfSettings, hasFoldersOfABrowserThatAreNeverAskedForUnlessTheyAreGranted) {
  using platform::Value;
  home.file(".mozilla/firefox/profiles.ini", list);
  home.folder("Disk/old");
  home.link(".adobe", home.path("Disk/old"));
  const auto own = domains.fileOfDomain(tidewell::kBundleIdentifier);
  const Value::Array never{Value(home.path("Disk/ann")), Value(home.path("Disk/old")), Value(home.path("Disk/x")),
                           Value("relative"), Value(true)};
  own->write(tidewell::kNeverAskedKey, never);
  const tidewell::Browser& firefox = *tidewell::browserNamed("Firefox");
  EXPECT_THAT(settings.neverAsked(firefox), ElementsAre(home.path("Disk/ann"), home.path(".adobe")));
  own->write("bd_file://" + home.path("Disk/ann") + "/", true);
  EXPECT_THAT(settings.neverAsked(firefox), ElementsAre(home.path(".adobe")));
  own->erase(tidewell::kNeverAskedKey);
  EXPECT_THAT(settings.neverAsked(firefox), ElementsAre());
}

}  // namespace
