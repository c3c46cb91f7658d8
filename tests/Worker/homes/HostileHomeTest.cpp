// Homes in which an attacker has put links and names that lead elsewhere.

#include "tests/support/LinuxHomeTest.h"
#include "tests/support/SampleWriter.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::Not;
using testing_support::HomeContents;
using testing_support::LinuxHomeTest;
using testing_support::SampleWriter;
using testing_support::ScratchFolder;
using Texts = std::vector<std::string>;

constexpr char kData[] = ".config/chromium/";
constexpr char kFirefox[] = ".mozilla/firefox/";

class HostileHome : public LinuxHomeTest {
 protected:
  HostileHome() {
    list({});
    for (const char* folder : {kData, kFirefox, ".cache/chromium", ".cache/mozilla/firefox"}) {
      platform.grant(platform.home.folder(folder));
    }
  }
  /// Fills profiles outside of what is granted.
  static void fill(const ScratchFolder& outside) {
    const SampleWriter writer(outside, SampleWriter::Stage::kBefore);
    testing_support::writeChromeProfile(writer, "chromium/", "chromium/caches/", true);
    testing_support::writeFirefoxProfile(writer, "firefox/", "firefox/caches/");
  }
  void list(const Texts& profiles) const {
    std::string cache;
    for (const std::string& profile : profiles) {
      cache += (cache.empty() ? "" : ",") + ("\"" + profile + R"(": {"name": "x"})");
    }
    platform.home.file(std::string(kData) + "Local State", R"({"profile": {"info_cache": {)" + cache + "}}}");
  }
  static void expectUntouched(const ScratchFolder& folder, const HomeContents& before) {
    const HomeContents after(folder);
    EXPECT_THAT(after.goneSince(before), IsEmpty());
    EXPECT_THAT(after.addedSince(before), IsEmpty());
    EXPECT_THAT(after.changedSince(before), IsEmpty());
  }

  const ScratchFolder outside;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(HostileHome, withNamesOfProfilesThatLeadElsewhereIsLeftAlone) {
  const SampleWriter writer(platform.home, SampleWriter::Stage::kBefore);
  testing_support::writeChromeProfile(writer, ".config/", ".cache/", true);
  testing_support::writeChromeProfile(writer, std::string(kData) + "a/b/", ".cache/chromium/a/b/", true);
  testing_support::writeChromeProfile(writer, kData, ".cache/chromium/", true);
  list({"..", "../chromium", "a/b", ".", "", "/", "..\\u0000", "/etc"});
  std::filesystem::remove(home(std::string(kData) + "Preferences"));
  platform.grant(platform.home.path());
  const HomeContents before(platform.home);
  quit("Chromium");
  const HomeContents after(platform.home);
  // The data folder itself is no profile, so only stores beside profiles are removed there.
  for (const std::string& path : after.goneSince(before)) {
    EXPECT_THAT((Texts{"ShaderCache", "GrShaderCache", "GraphiteDawnCache", "GPUPersistentCache"}),
                Contains(path.substr(std::string(kData).size(), path.rfind('/') - std::string(kData).size())));
  }
  EXPECT_THAT(after.changedSince(before), IsEmpty());
  EXPECT_THAT(after.addedSince(before), IsEmpty());
}

TEST_F(HostileHome, withALibraryLosesNoCurrentStoreToANameThatLeadsUp) {
  platform.home.file("Library/Application Support/Chromium/Local State",
                     R"({"profile": {"info_cache": {"../../../.config/chromium/Default": {"name": "x"}}}})");
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, true);
  platform.home.file(".config/chromium/Default/Session Storage/x");
  platform.grant(platform.home.path());
  quit("Chromium");
  EXPECT_TRUE(platform.home.exists(".config/chromium/Default/Session Storage/x"));
}

TEST_F(HostileHome, withLinksInPlaceOfStoresLosesTheLinksAtMost) {
  fill(outside);
  for (const bool overwrites : {false, true}) {
    platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, overwrites);
    platform.home.folder(std::string(kData) + "Default");
    platform.home.folder(std::string(kFirefox) + "ann");
    const HomeContents before(outside);
    for (const auto& entry : std::filesystem::directory_iterator(outside.path("chromium"))) {
      platform.home.link(std::string(kData) + "Default/" + entry.path().filename().string(), entry.path());
    }
    for (const auto& entry : std::filesystem::directory_iterator(outside.path("firefox"))) {
      platform.home.link(std::string(kFirefox) + "ann/" + entry.path().filename().string(), entry.path());
    }
    quit("Chromium");
    quit("Firefox");
    expectUntouched(outside, before);
    std::filesystem::remove_all(home(std::string(kData) + "Default"));
    std::filesystem::remove_all(home(std::string(kFirefox) + "ann"));
  }
}

TEST_F(HostileHome, withLinksInsideStoresLosesTheLinksAtMost) {
  fill(outside);
  for (const bool overwrites : {false, true}) {
    platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, overwrites);
    const SampleWriter writer(platform.home, SampleWriter::Stage::kBefore);
    testing_support::writeChromeProfile(writer, std::string(kData) + "Default/", ".cache/chromium/Default/", true);
    testing_support::writeFirefoxProfile(writer, std::string(kFirefox) + "ann/", ".cache/mozilla/firefox/ann/");
    Texts folders;  // of the profiles
    for (const auto& entry : std::filesystem::recursive_directory_iterator(platform.home.path())) {
      const std::string folder = entry.path().string().substr(platform.home.path().size() + 1);
      if (entry.is_directory() && (folder.ends_with("/Default") || folder.find("/Default/") != std::string::npos ||
                                   folder.ends_with("/ann") || folder.find("/ann/") != std::string::npos)) {
        folders.push_back(folder);
      }
    }
    for (const std::string& folder : folders) {
      platform.home.link(folder + "/to a file", outside.path("chromium/Bookmarks"));
      platform.home.link(folder + "/to a folder", outside.path("firefox"));
    }
    const HomeContents before(outside);
    quit("Chromium");
    quit("Firefox");
    expectUntouched(outside, before);
    EXPECT_FALSE(platform.home.exists(std::string(kData) + "Default/Session Storage"));
    EXPECT_FALSE(platform.home.exists(std::string(kFirefox) + "ann/storage/default/https+++visited.example"));
    std::filesystem::remove_all(home(std::string(kData) + "Default"));
    for (const char* folder : {".mozilla/firefox/ann", ".cache/chromium/Default", ".cache/mozilla/firefox/ann"}) {
      std::filesystem::remove_all(home(folder));
    }
  }
}

TEST_F(HostileHome, withALinkAsProfileLosesNothingOutside) {
  fill(outside);
  platform.home.link(std::string(kData) + "Default", outside.path("chromium"));
  platform.home.link(std::string(kData) + "Not listed", outside.path("chromium"));
  platform.home.link(std::string(kFirefox) + "ann", outside.path("firefox"));
  platform.home.link(".cache/chromium/Default", outside.path("chromium/caches"));
  platform.home.link(".cache/mozilla/firefox/ann", outside.path("firefox/caches"));
  list({"Default"});
  const HomeContents before(outside);
  quit("Chromium");
  quit("Firefox");
  expectUntouched(outside, before);
}

TEST_F(HostileHome, withLinksToTheWorkersOwnNamesLosesNothingOutside) {
  fill(outside);
  const SampleWriter writer(platform.home, SampleWriter::Stage::kBefore);
  const std::string profile = std::string(kData) + "Default/";
  testing_support::writeChromeProfile(writer, profile, ".cache/chromium/Default/", true);
  platform.home.link(profile + "Preferences.tidewell", outside.path("chromium/Preferences"));
  platform.home.link(profile + "Local Storage/leveldb.tidewell", outside.path("chromium/Local Storage/leveldb"));
  const HomeContents before(outside);
  quit("Chromium");
  expectUntouched(outside, before);
  EXPECT_THAT(HomeContents(platform.home).mentioning(testing_support::kVisitedSite), IsEmpty());
}

TEST_F(HostileHome, losesNothingOfAWorkerThatWasEndedInTheMiddle) {
  const SampleWriter writer(platform.home, SampleWriter::Stage::kCleaned);
  const std::string profile = std::string(kData) + "Default/";
  testing_support::writeChromeProfile(writer, profile, ".cache/chromium/Default/", true);
  platform.home.file(profile + "Preferences.tidewell", "{\"visited.example\": 1}");  // the old files, already exchanged
  platform.home.file(profile + "Local Storage/leveldb.tidewell/000003.log", "visited.example");
  quit("Chromium");
  EXPECT_THAT(HomeContents(platform.home).mentioning(testing_support::kVisitedSite), IsEmpty());
  EXPECT_THAT(HomeContents(platform.home).mentioning(".tidewell"), IsEmpty());
}

}  // namespace
