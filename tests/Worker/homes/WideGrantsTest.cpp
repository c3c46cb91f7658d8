// Grants of folders that the home lies in: never given, and never used, on a home without a Library.

#include "Platform/Path.h"
#include "Worker/sandbox/AppSandboxFileAccessPersist.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
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
  static void grantAs(const std::string& browsers, const std::string& path) {
    platform::linux_::SecurityScopes others;
    const platform::FileURL url(path, true);
    others.openForProcess(url);
    tidewell::AppSandboxFileAccessPersist::setBookmarkData_forURL(*others.bookmarkData(url),
                                                                  platform::FileURL(browsers, true));
  }
  /// Moves the home, and lets it be known by a link to it that lies elsewhere.
  void useLinkedHome() {
    platform.home.folder("disk/ann");
    std::filesystem::rename(home(".config"), home("disk/ann/.config"));
    platform.elsewhere.link("people/ann", home("disk/ann"));
    platform.shared().insert_or_assign("userFolder", platform.elsewhere.path("people/ann"));
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(WideGrants, areNotGivenInAPanel) {
  for (const std::string& path : {std::string("/"), above(), above() + "/."}) {
    platform.openPanel.willChoose(path);
    quit("Chromium");
    EXPECT_TRUE(platform.home.exists(kCookies)) << path;
  }
  EXPECT_THAT(platform.own(), Each(Key("history")));
  EXPECT_EQ(panels().size(), 3U);
  EXPECT_THAT(platform.log.lines(), Each("Sandbox has denied access to " + home(".config/chromium")));
  EXPECT_FALSE(platform.fileManager.contentsOfDirectory(above()));
}

TEST_F(WideGrants, areNotUsedWhenTheyAreInTheSettings) {
  platform.grant(above());
  quit("Chromium");
  EXPECT_TRUE(platform.home.exists(kCookies));
  EXPECT_THAT(platform.log.lines(), Contains(tooWide(above())));
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(WideGrants, areNotUsedUnderTheNameOfANarrowOne) {
  grantAs(home(".config/chromium"), "/");
  quit("Chromium");
  EXPECT_TRUE(platform.home.exists(kCookies));
  EXPECT_THAT(platform.log.lines(), Contains(tooWide("/")));
}

TEST_F(WideGrants, areToldByWhereTheHomesLinksLead) {
  useLinkedHome();
  for (const std::string& path : {home("disk"), platform.elsewhere.path("people"), above()}) {
    grantAs(home("disk/ann/.config/chromium"), path);
    quit("Chromium");
    EXPECT_THAT(platform.log.lines(), Contains(tooWide(path)));
  }
  EXPECT_TRUE(platform.home.exists(std::string("disk/ann/") + kCookies));
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
