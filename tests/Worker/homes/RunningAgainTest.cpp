// A browser that runs again, or still: it is left alone until it quits.

#include <chrono>
#include <functional>

#include "Platform/Platform.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::LinuxHomeTest;

/// Does something when a file is read for the first time.
class WatchedFiles : public platform::linux_::LinuxFileManager {
 public:
  using LinuxFileManager::LinuxFileManager;
  std::function<void()> whenRead = [] {};

  platform::Result<std::unique_ptr<platform::ReadableFile>> readableFile(const std::string& path) const override {
    if (path.ends_with("/Preferences")) whenRead();
    return LinuxFileManager::readableFile(path);
  }
};

class RunningAgain : public LinuxHomeTest {
 protected:
  RunningAgain() {
    const platform::Platform& p = platform::Platform::current();
    withFiles = std::make_unique<platform::Platform>(platform::Platform{
        p.mainBundle, p.dispatch, files, files, p.log, p.openPanel, p.securityScopedResources, p.system, p.userDefaults,
        p.userNotificationCenter, p.userScripts, p.workspace, p.cells, p.confinement});
    platform::Platform::install(withFiles.get());
    fill();
    platform.grant(home(".config/chromium"));
    enable({"org.chromium.Chromium"});
  }

  void fill() {
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
    for (const std::string& store : stores) platform.home.file(store);
  }
  std::vector<std::string> left() const {
    std::vector<std::string> left;
    for (const std::string& store : stores) {
      if (platform.home.exists(store)) left.push_back(store);
    }
    return left;
  }
  void start() { platform.workspace.running.insert("org.chromium.Chromium"); }
  void quit() {
    platform.workspace.running.clear();
    platform.workspace.quit("Chromium", "org.chromium.Chromium");
  }

  const std::vector<std::string> stores = {".config/chromium/Default/Cookies", ".config/chromium/Default/Trust Tokens",
                                           ".config/chromium/Default/WebStorage/1/a"};
  WatchedFiles files{platform.scopes, platform.home.path("scripts")};
  std::unique_ptr<platform::Platform> withFiles;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(RunningAgain, sparesABrowserInTheFirstRun) {
  quit();
  start();
  platform.dispatch.advance(4s);
  EXPECT_EQ(left(), stores);
}

TEST_F(RunningAgain, sparesABrowserInTheSecondRun) {
  quit();
  platform.dispatch.advance(4s);
  EXPECT_THAT(left(), IsEmpty());
  start();
  fill();
  platform.dispatch.advance(60s);
  EXPECT_EQ(left(), stores);
}

TEST_F(RunningAgain, sparesWhatIsLeftFromThatMomentOn) {
  files.whenRead = [this] { start(); };
  quit();
  platform.dispatch.advance(60s);
  EXPECT_THAT(left(), ElementsAre(".config/chromium/Default/WebStorage/1/a"));
}

TEST_F(RunningAgain, asksForNoFolders) {
  platform.home.folder(".cache/chromium");
  quit();
  start();
  platform.dispatch.advance(60s);
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(RunningAgain, endsWithTheNextQuit) {
  quit();
  start();
  platform.dispatch.advance(60s);
  quit();
  platform.dispatch.advance(4s);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RunningAgain, sparesNoOtherBrowser) {
  quit();
  platform.workspace.running.insert("com.google.Chrome");
  platform.dispatch.advance(4s);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RunningAgain, sparesNoBrowserThatThePersonWantsToBeCleanedAllTheSame) {
  start();
  platform.workspace.tell({"Chromium", "org.chromium.Chromium", {}, true});
  platform.dispatch.advance(4s);
  EXPECT_THAT(left(), IsEmpty());
  fill();
  platform.dispatch.advance(60s);
  EXPECT_THAT(left(), IsEmpty());
}

}  // namespace
