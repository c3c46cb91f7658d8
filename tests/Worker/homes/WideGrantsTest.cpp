// Grants of folders that the home lies in: never given, and never used, on a home without a Library.

#include "Platform/Path.h"
#include "Worker/sandbox/AppSandboxFileAccessPersist.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using testing_support::LinuxHomeTest;

constexpr char kCookies[] = ".config/chromium/Default/Cookies";

class WideGrants : public LinuxHomeTest {
 protected:
  WideGrants() {
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
    platform.home.file(kCookies);
  }

  std::string above() const { return platform::deletingLastPathComponent(platform.home.path()); }
  static std::string tooWide(const std::string& path) { return "A grant of " + path + " is too wide, and is not used"; }
  /// Stores a grant of that folder under the name of the browser's.
  void grantAsBrowsers(const std::string& path) {
    platform::linux_::SecurityScopes others;
    const platform::FileURL url(path, true);
    others.openForProcess(url);
    tidewell::AppSandboxFileAccessPersist::setBookmarkData_forURL(*others.bookmarkData(url),
                                                                  platform::FileURL(home(".config/chromium"), true));
  }
  /// Lets the home be another folder's name for the present one.
  std::string useLinkedHome() {
    std::filesystem::create_directory_symlink(platform.home.path(), platform.elsewhere.path("ann"));
    platform.shared().insert_or_assign("userFolder", platform.elsewhere.path("ann"));
    return platform.elsewhere.path();
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(WideGrants, areNotGivenInAPanel) {
  for (const std::string& path : {std::string("/"), above(), above() + "/."}) {
    platform.openPanel.willChoose(path);
    platform.openPanel.willChoose(path);
    quit("Chromium");  // in both runs
    EXPECT_TRUE(platform.home.exists(kCookies)) << path;
  }
  EXPECT_THAT(platform.own(), IsEmpty());
  EXPECT_EQ(panels().size(), 6U);
  EXPECT_THAT(platform.log.lines(), Each("Sandbox has denied access to " + home(".config/chromium")));
  EXPECT_FALSE(platform.fileManager.contentsOfDirectory(above()));
}

TEST_F(WideGrants, areNotUsedWhenTheyAreInTheSettings) {
  platform.grant(above());
  quit("Chromium");
  EXPECT_TRUE(platform.home.exists(kCookies));
  EXPECT_THAT(platform.log.lines(), Contains(tooWide(above())));
  EXPECT_THAT(panels(), Not(IsEmpty()));
}

TEST_F(WideGrants, areNotUsedUnderTheNameOfANarrowOne) {
  grantAsBrowsers("/");
  quit("Chromium");
  EXPECT_TRUE(platform.home.exists(kCookies));
  EXPECT_THAT(platform.log.lines(), Contains(tooWide("/")));
}

TEST_F(WideGrants, areToldByWhereTheHomesLinksLead) {
  const std::string aboveLink = useLinkedHome();
  for (const std::string& path : {above(), aboveLink}) {
    grantAsBrowsers(path);
    quit("Chromium");
    EXPECT_THAT(platform.log.lines(), Contains(tooWide(path)));
  }
  EXPECT_TRUE(platform.home.exists(kCookies));
}

TEST_F(WideGrants, areReplacedByTheNarrowOneThatThePersonChooses) {
  platform.grant(above());
  platform.openPanel.agreesToAll = true;
  quit("Chromium");
  EXPECT_FALSE(platform.home.exists(kCookies));
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(WideGrants, areNotThoseOfTheHomeItself) {
  platform.grant(platform.home.path());
  quit("Chromium");
  EXPECT_FALSE(platform.home.exists(kCookies));
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(WideGrants, areGivenOnAHomeWithALibrary) {
  platform.home.folder("Library/Caches");
  platform.home.folder("Library/Application Support/Chromium");
  platform.openPanel.willChoose(above());
  worker->answerFrom_reply("org.chromium.Chromium", [](const std::string&) {});
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), ElementsAre("Library/Application Support/Chromium"));
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

}  // namespace
