// What goes wrong with one store does not keep the others from being cleaned.

#include <new>

#include "Platform/Platform.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using testing_support::LinuxHomeTest;

/// Runs out of memory over some files.
class ShortOfMemory : public platform::linux_::LinuxFileManager {
 public:
  using LinuxFileManager::LinuxFileManager;
  std::string tooLarge;

  platform::Result<std::unique_ptr<platform::ReadableFile>> readableFile(const std::string& path) const override {
    if (path.ends_with(tooLarge)) throw std::bad_alloc();
    return LinuxFileManager::readableFile(path);
  }
};

class Fences : public LinuxHomeTest {
 protected:
  Fences() {
    const platform::Platform& p = platform::Platform::current();
    withFiles = std::make_unique<platform::Platform>(platform::Platform{
        p.mainBundle, p.dispatch, files, files, p.log, p.openPanel, p.securityScopedResources, p.system, p.userDefaults,
        p.userNotificationCenter, p.userScripts, p.workspace, p.cells, p.confinement});
    platform::Platform::install(withFiles.get());
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", R"({"https://visited.example":1})");
    platform.home.file(".config/chromium/Default/Cookies");
    platform.home.file(".config/chromium/Default/Trust Tokens");
    platform.grant(home(".config/chromium"));
  }

  ShortOfMemory files{platform.scopes, platform.home.path("scripts")};
  std::unique_ptr<platform::Platform> withFiles;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Fences, areAroundEachStore) {
  files.tooLarge = "/Preferences";
  quit("Chromium");
  EXPECT_THAT(platform.home.tree(".config/chromium/Default"),
              ElementsAre("Preferences: {\"https://visited.example\":1}"));
  EXPECT_THAT(platform.log.lines(), ElementsAre("Preferences of Chromium could not be cleaned",
                                                "Preferences of Chromium could not be cleaned"));
}

TEST_F(Fences, areAroundEachInstallation) {
  platform.grant(platform.home.folder("snap/chromium/common/chromium"));
  platform.home.file("snap/chromium/common/chromium/Local State");
  platform.home.file("snap/chromium/common/chromium/Default/Preferences", "{}");
  platform.home.file("snap/chromium/common/chromium/Default/Cookies");
  files.tooLarge = ".config/chromium/Local State";
  quit("Chromium");
  EXPECT_TRUE(platform.home.exists(".config/chromium/Default/Cookies"));
  EXPECT_FALSE(platform.home.exists("snap/chromium/common/chromium/Default/Cookies"));
  EXPECT_THAT(platform.log.lines(), ElementsAre("An installation of Chromium could not be cleaned",
                                                "An installation of Chromium could not be cleaned"));
}

}  // namespace
