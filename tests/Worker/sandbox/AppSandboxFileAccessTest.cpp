// Asking for a folder, keeping the answer, and acting under it.

#include <filesystem>

#include "Platform/Assertion.h"
#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate.h"
#include "tests/support/WorkerTest.h"

namespace {

using platform::AssertionFailure;
using platform::FileURL;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::WorkerTest;
using tidewell::AppSandboxFileAccess;
using tidewell::AppSandboxFileAccessOpenSavePanelDelegate;

class FolderAccess : public WorkerTest {
 protected:
  std::string key(const std::string& below) const { return "bd_file://" + home(below) + "/"; }
  bool accessTo(const std::string& path, bool persist = true) {
    return access->accessFilePath_persistPermission_withBlock(path, persist, [this] { ++ran; });
  }
  std::vector<std::string> panels() const { return platform.journal.entriesAfter("panel "); }
  /// Expects the stored grant to be of the folder that is at that path now.
  void expectFreshGrantOf(const std::string& below) {
    const auto* stored = platform.own().at(key(below)).as<platform::Data>();
    ASSERT_NE(stored, nullptr);
    const platform::ResolvedBookmark bookmark = platform.scopes.resolveBookmarkData(*stored);
    EXPECT_FALSE(bookmark.isStale);
    ASSERT_TRUE(bookmark.url);
    EXPECT_EQ(bookmark.url->path(), home(below));
  }

  std::unique_ptr<AppSandboxFileAccess> access = AppSandboxFileAccess::fileAccess();
  int ran = 0;
};

// The object.

TEST_F(FolderAccess, isMadeAnewEachTimeAndSharesNothing) {
  access->setTitle("T");
  access->setMessage("M");
  access->setPrompt("P");
  for (const auto& another : {AppSandboxFileAccess::fileAccess(), std::make_unique<AppSandboxFileAccess>()}) {
    EXPECT_NE(another.get(), access.get());
    EXPECT_EQ(another->title(), "Allow Access");
    EXPECT_EQ(another->message(), "Tidewell needs to access this path to continue. Click Allow to continue.");
    EXPECT_EQ(another->prompt(), "Allow");
  }
  EXPECT_EQ(access->title(), "T");
}

TEST_F(FolderAccess, hasTheTextsOfThePanel) {
  EXPECT_EQ(access->title(), "Allow Access");
  EXPECT_EQ(access->message(), "Tidewell needs to access this path to continue. Click Allow to continue.");
  EXPECT_EQ(access->prompt(), "Allow");
}

TEST_F(FolderAccess, takesTheBundlesDisplayNameBeforeItsName) {
  platform.bundle.information = {{"CFBundleName", "Worker"}, {"CFBundleDisplayName", "Shown"}};
  EXPECT_EQ(AppSandboxFileAccess().message(), "Shown needs to access this path to continue. Click Allow to continue.");
}

TEST_F(FolderAccess, takesTheBundlesNameWhereThereIsNoDisplayName) {
  platform.bundle.information = {{"CFBundleName", "Worker"}};
  EXPECT_EQ(AppSandboxFileAccess().message(), "Worker needs to access this path to continue. Click Allow to continue.");
}

TEST_F(FolderAccess, hasTranslatedTexts) {
  platform.bundle.translations["Allow Access"] = "Zugriff erlauben";
  platform.bundle.translations["Allow"] = "Erlauben";
  platform.bundle.translations["%@ needs to access this path to continue. Click Allow to continue."] = "Bitte, %@!";
  EXPECT_EQ(AppSandboxFileAccess().title(), "Zugriff erlauben");
  EXPECT_EQ(AppSandboxFileAccess().prompt(), "Erlauben");
  EXPECT_EQ(AppSandboxFileAccess().message(), "Bitte, Tidewell!");
}

// A stored grant.

TEST_F(FolderAccess, toWhatLiesBelowAGrantedFolderNeedsNoPanel) {
  platform.home.file("Library/Safari/LocalStorage/x");
  platform.grant(home("Library/Safari"));
  EXPECT_TRUE(accessTo(home("Library/Safari/LocalStorage/x")));
  EXPECT_EQ(ran, 1);
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(FolderAccess, isHeldWhileTheBlockRunsAndLetGoAfterwards) {
  platform.home.file("Library/a");
  platform.grant(home("Library"));
  const auto readable = [this] { return static_cast<bool>(platform.fileManager.contentsOfDirectory(home("Library"))); };
  EXPECT_FALSE(readable());
  access->accessFilePath_persistPermission_withBlock(home("Library"), true, [&] { EXPECT_TRUE(readable()); });
  EXPECT_FALSE(readable());
}

TEST_F(FolderAccess, isLetGoWhenTheBlockThrowsAndTheExceptionIsPassedOn) {
  platform.home.file("Library/a");
  platform.grant(home("Library"));
  const auto failing = [] { throw std::runtime_error("the block's own"); };
  EXPECT_THROW(access->accessFilePath_persistPermission_withBlock(home("Library"), true, failing), std::runtime_error);
  EXPECT_FALSE(platform.fileManager.contentsOfDirectory(home("Library")));
}

TEST_F(FolderAccess, givesTheGrantsUrlAndDataToTheBlock) {
  platform.home.folder("Library/Safari");
  platform.grant(home("Library"));
  std::optional<FileURL> received;
  std::optional<platform::Data> data;
  EXPECT_TRUE(access->requestAccessPermissionsForFilePath_persistPermission_withBlock(
      home("Library/Safari"), true, [&](const FileURL& url, const std::optional<platform::Data>& bookmark) {
        received = url;
        data = bookmark;
      }));
  EXPECT_EQ(received->path(), home("Library"));
  EXPECT_EQ(platform::Value(*data), platform.own().at(key("Library")));
}

TEST_F(FolderAccess, requestNeedsNoBlock) {
  platform.home.folder("Library");
  platform.grant(home("Library"));
  EXPECT_TRUE(access->requestAccessPermissionsForFilePath_persistPermission_withBlock(home("Library"), true, nullptr));
}

TEST_F(FolderAccess, ofTheOtherArgumentOrderIsTheSame) {
  platform.home.folder("Library");
  platform.grant(home("Library"));
  const auto block = [this] { ++ran; };
  EXPECT_TRUE(access->accessFilePath_withBlock_persistPermission(home("Library"), block, true));
  EXPECT_TRUE(access->accessFileURL_withBlock_persistPermission(FileURL(home("Library"), true), block, true));
  EXPECT_EQ(ran, 2);
}

TEST_F(FolderAccess, isAskedForTheTargetOfALinkAndNotForTheLink) {
  platform.home.folder("Library");
  platform.home.link("link", home("Library"));
  EXPECT_FALSE(accessTo(home("link")));
  EXPECT_THAT(panels(), ElementsAre(home("Library")));
  platform.grant(home("Library"));
  EXPECT_TRUE(accessTo(home("link")));
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(FolderAccess, isLookedUpByTheStandardFormOfThePath) {
  platform.home.folder("Library");
  EXPECT_FALSE(accessTo(home("missing/../Library/./Safari/..")));
  EXPECT_THAT(panels(), ElementsAre(home("Library")));
}

// The panel.

TEST_F(FolderAccess, withoutAGrantAsksAndStoresTheChoice) {
  platform.home.folder("Library/Safari");
  platform.openPanel.willChoose(home("Library"));
  EXPECT_TRUE(accessTo(home("Library/Safari")));
  EXPECT_EQ(ran, 1);
  EXPECT_THAT(panels(), ElementsAre(home("Library/Safari")));
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre(key("Library")));
}

TEST_F(FolderAccess, doesNotStoreTheChoiceWhenToldNotTo) {
  platform.home.folder("Library");
  platform.openPanel.willChoose(home("Library"));
  EXPECT_TRUE(accessTo(home("Library"), /*persist=*/false));
  EXPECT_THAT(platform.userDefaults.keys(""), IsEmpty());
}

TEST_F(FolderAccess, isRefusedByACancelledPanelAndNothingIsStored) {
  platform.home.folder("Library");
  platform.openPanel.willCancel();
  EXPECT_FALSE(accessTo(home("Library")));
  EXPECT_EQ(ran, 0);
  EXPECT_THAT(platform.userDefaults.keys(""), IsEmpty());
}

// Bookmarks that no longer fit.

TEST_F(FolderAccess, whoseFolderWasReplacedIsRefreshedWithoutAPanelEvenWhenNothingIsToPersist) {
  platform.home.folder("Library");
  platform.grant(home("Library"));
  const platform::Value before = platform.own().at(key("Library"));
  std::filesystem::rename(home("Library"), home("old"));
  platform.home.folder("Library");
  EXPECT_TRUE(accessTo(home("Library"), /*persist=*/false));
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_NE(platform.own().at(key("Library")), before);
  expectFreshGrantOf("Library");
}

TEST_F(FolderAccess, whoseGrantLiesAboveIsRefreshedUnderThatFoldersKey) {
  platform.home.folder("Library/Safari");
  platform.grant(home("Library"));
  const platform::Value before = platform.own().at(key("Library"));
  std::filesystem::rename(home("Library"), home("old"));
  platform.home.folder("Library/Safari");
  EXPECT_TRUE(accessTo(home("Library/Safari")));
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre(key("Library")));
  EXPECT_NE(platform.own().at(key("Library")), before);
  expectFreshGrantOf("Library");
}

TEST_F(FolderAccess, whoseFolderIsGoneIsAskedForAndTheOldDataStays) {
  platform.home.folder("Library");
  platform.grant(home("Library"));
  const platform::Value before = platform.own().at(key("Library"));
  std::filesystem::remove(home("Library"));
  platform.openPanel.willChoose(platform.home.path());
  std::optional<platform::Data> kept;
  EXPECT_TRUE(access->requestAccessPermissionsForFileURL_persistPermission_withBlock(
      FileURL(home("Library"), true), true,
      [&](const FileURL&, const std::optional<platform::Data>& data) { kept = data; }));
  EXPECT_EQ(platform::Value(*kept), before);
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre(key("Library")));
  EXPECT_EQ(platform.own().at(key("Library")), before);
}

TEST_F(FolderAccess, whoseDataIsDamagedIsAskedFor) {
  platform.home.folder("Library");
  platform.own().insert_or_assign(key("Library"), platform::dataFromBytes("damaged"));
  platform.openPanel.willChoose(home("Library"));
  EXPECT_TRUE(accessTo(home("Library")));
  EXPECT_THAT(panels(), SizeIs(1));
}

// Recording a bookmark without asking.

TEST_F(FolderAccess, persistPermissionStoresNothingForAPathThatWasNotGranted) {
  platform.home.folder("Library");
  EXPECT_FALSE(access->persistPermissionPath(home("Library")));
  EXPECT_THAT(platform.userDefaults.keys(""), IsEmpty());
}

TEST_F(FolderAccess, persistPermissionStoresWhatLiesInAnOpenScope) {
  platform.home.file("Library/a");
  platform.scopes.openForProcess(FileURL(home("Library"), true));
  EXPECT_TRUE(access->persistPermissionPath(home("Library/a")));
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre("bd_file://" + home("Library/a")));
}

TEST_F(FolderAccess, persistPermissionStoresNothingForWhatDoesNotExist) {
  platform.home.folder("Library");
  platform.scopes.openForProcess(FileURL(home("Library"), true));
  EXPECT_FALSE(access->persistPermissionPath(home("Library/missing")));
  EXPECT_THAT(platform.userDefaults.keys(""), IsEmpty());
}

// Missing arguments.

struct MissingArgument {
  const char* name;
  std::function<void()> call;
  const char* parameter;
  const char* file;
  int line;
};

TEST_F(FolderAccess, missingArgumentsAreProgrammingErrorsWithTheirPlace) {
  constexpr char kFile[] = "Worker/sandbox/AppSandboxFileAccess";
  constexpr char kDelegateFile[] = "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate";
  const FileURL url("/a");
  AppSandboxFileAccessOpenSavePanelDelegate delegate(url);
  const std::vector<MissingArgument> cases = {
      {"askPermissionForURL", [&] { access->askPermissionForURL(std::nullopt); }, "url", kFile, 71},
      {"persistPermissionPath", [&] { access->persistPermissionPath(std::nullopt); }, "path", kFile, 121},
      {"persistPermissionURL", [&] { access->persistPermissionURL(std::nullopt); }, "url", kFile, 127},
      {"accessFileURL, URL", [&] { access->accessFileURL_persistPermission_withBlock(std::nullopt, true, [] {}); },
       "fileURL", kFile, 152},
      {"accessFileURL, block", [&] { access->accessFileURL_persistPermission_withBlock(url, true, nullptr); }, "block",
       kFile, 153},
      {"requestAccess, path",
       [&] { access->requestAccessPermissionsForFilePath_persistPermission_withBlock(std::nullopt, true, nullptr); },
       "filePath", kFile, 169},
      {"requestAccess, URL",
       [&] { access->requestAccessPermissionsForFileURL_persistPermission_withBlock(std::nullopt, true, nullptr); },
       "fileURL", kFile, 176},
      {"initWithFileURL", [] { AppSandboxFileAccessOpenSavePanelDelegate rule(std::nullopt); }, "fileURL",
       kDelegateFile, 54},
      {"shouldEnableURL", [&] { delegate.panel_shouldEnableURL({}, std::nullopt); }, "url", kDelegateFile, 63}};
  for (const MissingArgument& missing : cases) {
    try {
      missing.call();
      FAIL() << missing.name << " went on";
    } catch (const AssertionFailure& failure) {
      EXPECT_EQ(failure.what(), "Invalid parameter not satisfying: " + std::string(missing.parameter)) << missing.name;
      EXPECT_EQ(failure.file(), missing.file) << missing.name;
      EXPECT_EQ(failure.line(), missing.line) << missing.name;
    }
  }
}

TEST_F(FolderAccess, assertionWithoutASourcePathSaysSo) {
  const AssertionFailure failure("url", std::nullopt, 7);
  EXPECT_EQ(failure.file(), "<Unknown File>");
  EXPECT_NE(failure.report().find("<Unknown File>"), std::string::npos);
}

}  // namespace
