// Runs in which a site has taken over each reader that reads its bytes.

#include <fcntl.h>
#include <sys/wait.h>

#include <chrono>
#include <fstream>
#include <sstream>

#include "Platform/Linux/cells/LinuxCells.h"
#include "Worker/formats/SessionStore.h"
#include "tests/support/BrowserFiles.h"
#include "tests/support/KernelWithout.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using platform::linux_::FileDescriptor;
using platform::linux_::LinuxCells;
using ::testing::Contains;
using ::testing::HasSubstr;
using testing_support::Lacking;
using testing_support::LinuxHomeTest;
using testing_support::withKernel;

/// Open before the test program hides the folder that it lies in.
const FileDescriptor holedCell(::open(TIDEWELL_HOLED_CELL, O_PATH | O_CLOEXEC));

constexpr char kChromium[] = ".config/chromium/Default/";
constexpr char kFirefox[] = ".mozilla/firefox/p.default/";

struct Trial {
  const char* name;
  const char* deed;  // with "@" for a file that is none of theirs, and "#" for one that is not there
};

class AHole : public LinuxHomeTest, public ::testing::WithParamInterface<std::tuple<Trial, Lacking>> {
 protected:
  AHole() {
    testing_support::TestPlatform& p = platform;
    withHole = std::make_unique<platform::Platform>(platform::Platform{
        p.bundle, p.dispatch, p.fileManager, p.fileManagerOnOneMount, p.log, p.openPanel, p.scopes, p.system,
        p.userDefaults, p.notificationCenter, p.userScripts, p.workspace, cells, p.confinement});
    platform::Platform::install(withHole.get());
    p.home.file("thesis", "mine");
    for (const char* folder : {".config/chromium", ".cache/chromium", ".mozilla/firefox", ".cache/mozilla/firefox"}) {
      p.home.folder(folder);
      p.grant(home(folder));
    }
  }

  std::string hole() const {
    std::string deed = std::get<Trial>(GetParam()).deed;
    for (const auto& [mark, path] : {std::pair('@', home("thesis")), std::pair('#', home("new"))}) {
      const std::size_t at = deed.find(mark);
      if (at != std::string::npos) deed.replace(at, 1, path);
    }
    return "HOLE:" + deed + ";";
  }

  std::string contents(const std::string& path) const {
    std::ostringstream text;
    text << std::ifstream(home(path)).rdbuf();
    return text.str();
  }

  /// Lets the browser quit, and checks that nothing has happened but what belongs to a cleaning.
  void clean(const char* browser) {
    withKernel(std::get<Lacking>(GetParam()), [&] { quit(browser); });
    EXPECT_EQ(contents("thesis"), "mine");
    EXPECT_FALSE(platform.home.exists("new"));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a process was left";
  }

  LinuxCells cells{FileDescriptor(::fcntl(holedCell.get(), F_DUPFD_CLOEXEC, 3)), platform.log,
                   std::chrono::milliseconds(500)};
  std::unique_ptr<platform::Platform> withHole;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

constexpr Trial kTrials[] = {
    {"makesNoFile", "make #"},         {"emptiesNoFile", "make @"},
    {"removesNoFile", "remove @"},     {"startsNoProgram", "exec : >#"},
    {"startsNoProcess", "fork #"},     {"writesToNoDescriptor", "write damage"},
    {"isEndedWhenItLoops", "loop"},    {"isNotWaitedForWhenItEnds", "end"},
    {"isNotBelieved", "say nonsense"}, {"isNotHeardWithoutBounds", "announce"},
};

INSTANTIATE_TEST_SUITE_P(InAReader, AHole,
                         ::testing::Combine(::testing::ValuesIn(kTrials),
                                            ::testing::Values(Lacking::kNothing, Lacking::kLandlock)),
                         [](const auto& tested) {
                           const bool isWhole = std::get<Lacking>(tested.param) == Lacking::kNothing;
                           return std::string(std::get<Trial>(tested.param).name) + (isWhole ? "" : "WithoutLandlock");
                         });

TEST_P(AHole, inWhatChromiumsSitesWroteChangesNothingElse) {
  const std::string preferences = R"({"profile":{"note":")" + hole() + R"("}})";
  platform.home.file(".config/chromium/Local State", preferences);
  platform.home.file(std::string(kChromium) + "Preferences", preferences);
  platform.home.file(std::string(kChromium) + "Sessions/Session_1", hole());
  platform.home.file(std::string(kChromium) + "Service Worker/CacheStorage/taken/index.txt", hole());
  platform.home.file(std::string(kChromium) + "Service Worker/CacheStorage/other/index.txt", "nothing of note");
  platform.home.file(std::string(kChromium) + "DIPS");
  const testing_support::LevelEntries stored = {{"_https://visited.example", hole()}};
  const std::string database = home(std::string(kChromium) + "Local Storage/leveldb");
  testing_support::putInLevelDatabase(database, stored);
  clean("Chromium");
  EXPECT_THAT(testing_support::levelEntriesOf(database), ::testing::Optional(stored));
  EXPECT_EQ(contents(std::string(kChromium) + "Preferences"), preferences);
  EXPECT_EQ(contents(std::string(kChromium) + "Sessions/Session_1"), hole());
  EXPECT_TRUE(platform.home.exists(std::string(kChromium) + "Service Worker/CacheStorage/taken"));
  EXPECT_FALSE(platform.home.exists(std::string(kChromium) + "Service Worker/CacheStorage/other"));
  for (const char* store : {"Preferences", "Sessions", "Service Worker/CacheStorage", "Local Storage/leveldb"}) {
    EXPECT_THAT(platform.log.lines(),
                Contains(HasSubstr(std::string(store) + " of Chromium was left: it can't be read")));
  }
}

TEST_P(AHole, inWhatFirefoxsSitesWroteChangesNothingElse) {
  const std::string session = tidewell::packedSession(R"({"windows":[],"note":")" + hole() + R"("})");
  platform.home.file(".mozilla/firefox/profiles.ini", "[Profile0]\nPath=a/b\n#" + hole());
  platform.home.file(std::string(kFirefox) + "prefs.js");
  platform.home.file(std::string(kFirefox) + "sessionstore.jsonlz4", session);
  platform.home.file(std::string(kFirefox) + "storage/default/https+++visited.example/x");
  clean("Firefox");
  EXPECT_EQ(contents(std::string(kFirefox) + "sessionstore.jsonlz4"), session);
  EXPECT_FALSE(platform.home.exists(std::string(kFirefox) + "storage/default/https+++visited.example"));
  EXPECT_THAT(platform.log.lines(), Contains(HasSubstr("sessionstore.jsonlz4 of Firefox was left: it can't be read")));
}

}  // namespace
