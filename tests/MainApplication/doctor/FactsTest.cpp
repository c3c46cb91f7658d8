// The facts that the doctor finds in a scratch home.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MainApplication/doctor/GrantsLook.h"
#include "MainApplication/doctor/HomeLook.h"
#include "MainApplication/doctor/OverwritingLook.h"
#include "MainApplication/doctor/QuitsLook.h"
#include "Platform/FileURL.h"
#include "Platform/Linux/files/SecurityScopes.h"
#include "Worker/Identity.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::Value;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TheDoctor : public ::testing::Test {
 protected:
  TheDoctor() {
    shared().write(tidewell::kUserFolderKey, home.path());
    shared().write(tidewell::kEnabledBrowsersKey, Value::Array{"org.chromium.Chromium"});
    home.file(".config/chromium/Local State", "{}");
    home.file(".config/chromium/Default/Preferences", "{}");
  }

  platform::linux_::DefaultsFile& shared() { return *domains.fileOfDomain(tidewell::kSharedSuite); }

  /// Records a grant as the worker does.
  void grant(const std::string& path) {
    const FileURL url(path, true);
    platform::linux_::SecurityScopes scopes;
    scopes.openForProcess(url);
    domains.fileOfDomain(tidewell::kBundleIdentifier)->write("bd_" + url.absoluteString(), *scopes.bookmarkData(url));
  }

  tidewell::GrantsLook grants() { return tidewell::GrantsLook::now(settings, domains); }

  testing_support::ScratchFolder home, settingsFolder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{settingsFolder.path("s"), tidewell::kBundleIdentifier, log};
  tidewell::SettingsStore settings{domains};
};

TEST_F(TheDoctor, findsFoldersWithoutAGrant) {
  const std::string folder = home.path(".config/chromium");
  ASSERT_EQ(grants().browsers.size(), 1U);
  EXPECT_THAT(grants().browsers[0].notAllowed, ElementsAre(folder));
  grant(folder);
  EXPECT_THAT(grants().browsers[0].notAllowed, IsEmpty());
  EXPECT_THAT(grants().gone, IsEmpty());
  EXPECT_THAT(grants().replaced, IsEmpty());
}

TEST_F(TheDoctor, findsGrantsOfFoldersThatAreGoneOrReplaced) {
  const std::string folder = home.folder("folder");
  grant(folder);
  ASSERT_EQ(::rename(folder.c_str(), home.path("elsewhere").c_str()), 0);
  EXPECT_THAT(grants().gone, ElementsAre(folder));
  home.folder("folder");
  EXPECT_THAT(grants().gone, IsEmpty());
  EXPECT_THAT(grants().replaced, ElementsAre(folder));
}

TEST_F(TheDoctor, looksAtTheHomeThatIsCleaned) {
  const auto look = tidewell::HomeLook::now(settings);
  EXPECT_EQ(look.home, home.path());
  EXPECT_TRUE(look.isThere);
  EXPECT_TRUE(look.canReadKeptSites);
  shared().write(tidewell::kKeptSitesKey, 3);
  EXPECT_FALSE(tidewell::HomeLook::now(settings).canReadKeptSites);
}

TEST_F(TheDoctor, looksWhereTheEnabledBrowsersKeepTheirData) {
  shared().write(tidewell::kSecureDeleteDataKey, true);
  const auto look = tidewell::OverwritingLook::now(settings);
  EXPECT_TRUE(look.isWanted);
  ASSERT_EQ(look.folders.size(), 1U);
  EXPECT_EQ(look.folders[0].folder, home.path(".config/chromium"));
}

TEST_F(TheDoctor, looksForTheProgramsOfTheEnabledBrowsers) {
  platform::linux_::RunLoop loop;
  const auto look = tidewell::QuitsLook::now(loop, settings);
  ASSERT_EQ(look.browsers.size(), 1U);
  EXPECT_EQ(look.browsers[0].word, "chromium");
  EXPECT_TRUE(look.browsers[0].hasData);
}

}  // namespace
