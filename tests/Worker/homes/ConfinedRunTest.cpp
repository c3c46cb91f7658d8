// A cleaning that makes a mistake with a path: the kernel refuses what lies outside of the browser's folders.

#include <unistd.h>

#include <cerrno>
#include <memory>

#include "Platform/Platform.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using testing_support::LinuxHomeTest;

/// Removes other files as well, without any check of its own.
class MistakenFiles : public platform::linux_::LinuxFileManager {
 public:
  using LinuxFileManager::LinuxFileManager;
  std::vector<std::string> others;
  std::vector<int> errors;

  platform::Erasure eraseItem(const std::string& path, platform::Overwriting overwriting) override {
    for (const std::string& other : others) errors.push_back(::unlink(other.c_str()) == 0 ? 0 : errno);
    return LinuxFileManager::eraseItem(path, overwriting);
  }
};

class AMistakenRun : public LinuxHomeTest {
 protected:
  AMistakenRun() {
    const platform::Platform& p = platform::Platform::current();
    withFiles = std::make_unique<platform::Platform>(platform::Platform{
        p.mainBundle, p.dispatch, files, files, p.log, p.openPanel, p.securityScopedResources, p.system, p.userDefaults,
        p.userNotificationCenter, p.userScripts, p.workspace, p.cells, p.confinement});
    platform::Platform::install(withFiles.get());
    for (const char* file : {".config/chromium/Local State", ".config/chromium/Default/Preferences"}) {
      platform.home.file(file, "{}");
    }
    platform.home.file(".config/chromium/Default/Cookies");
    for (const char* file : {"thesis", ".config/other/settings", ".config/chromium-not/file"}) {
      platform.home.file(file, "mine");
      files.others.push_back(home(file));
    }
    // What is granted besides is not this browser's.
    platform.grant(home(".config"));
  }

  MistakenFiles files{platform.scopes, platform.home.path("scripts")};
  std::unique_ptr<platform::Platform> withFiles;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(AMistakenRun, removesNothingElse) {
  quit("Chromium");
  EXPECT_FALSE(platform.home.exists(".config/chromium/Default/Cookies"));
  ASSERT_FALSE(files.errors.empty());
  EXPECT_THAT(files.errors, ::testing::Each(EACCES));
  for (const std::string& other : files.others) EXPECT_EQ(::access(other.c_str(), F_OK), 0) << other;
}

}  // namespace
