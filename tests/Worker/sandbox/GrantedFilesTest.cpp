// Files that are removed, and files that are rewritten because a part stays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "tests/support/HeldFile.h"
#include "tests/support/TestPlatform.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::HeldFile;
using tidewell::GrantedFiles;
using tidewell::Left;
using tidewell::Outcome;
using tidewell::Rewriting;

/// A file manager that can be told to fail at exchanging or creating files, and to be interrupted before an exchange.
class OlderFileSystem : public platform::linux_::LinuxFileManager {
 public:
  using LinuxFileManager::LinuxFileManager;
  std::errc exchangeError{};
  std::function<void()> beforeExchange = [] {};
  bool canCreate = true;

  platform::Result<bool> exchangeUnlessChanged(const std::string& path, const std::string& other,
                                               const platform::FileVersion& read) override {
    beforeExchange();
    return exchangeError == std::errc() ? LinuxFileManager::exchangeUnlessChanged(path, other, read) : exchangeError;
  }
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override {
    return canCreate ? LinuxFileManager::createFile(path, contents, permissions)
                     : std::make_error_code(std::errc::no_space_on_device);
  }
};

class GrantedFilesTest : public ::testing::Test {
 protected:
  GrantedFilesTest() {
    const platform::Platform& p = platform::Platform::current();
    withFiles = std::make_unique<platform::Platform>(platform::Platform{
        p.mainBundle, p.dispatch, files, files, p.log, p.openPanel, p.securityScopedResources, p.system, p.userDefaults,
        p.userNotificationCenter, p.userScripts, p.workspace, p.cells, p.confinement});
    platform::Platform::install(withFiles.get());
    platform.shared().insert_or_assign("userFolder", platform.home.path());
    platform.home.file("data/file", "site and rest");
    platform.grant(platform.home.path("data"));
  }

  static tidewell::Left rewrite(const Rewriting& rewriting) {
    return GrantedFiles::rewrite("~/data/file", [rewriting](std::string_view) { return rewriting; }).left;
  }

  /// As browsers do it: by another file that takes the name.
  void save(const std::string& contents) const {
    platform.home.file("data/file.tmp", contents);
    std::filesystem::rename(platform.home.path("data/file.tmp"), platform.home.path("data/file"));
  }

  testing_support::TestPlatform platform;
  OlderFileSystem files{platform.scopes, platform.home.path("scripts")};
  std::unique_ptr<platform::Platform> withFiles;
};

TEST_F(GrantedFilesTest, handsOverAllBytesAndPutsTheNewOnesInTheirPlace) {
  GrantedFiles::rewrite("~/data/file", [](std::string_view contents) {
    EXPECT_EQ(contents, "site and rest");
    return Rewriting::replaceBy("rest");
  });
  EXPECT_EQ(platform.home.content("data/file"), "rest");
  EXPECT_THAT(platform.home.tree(), ElementsAre("Library/", "data/", ::testing::StartsWith("data/file")));
}

TEST_F(GrantedFilesTest, keepsThePermissions) {
  std::filesystem::permissions(platform.home.path("data/file"), std::filesystem::perms(0640));
  rewrite(Rewriting::replaceBy("rest"));
  struct stat status {};
  ASSERT_EQ(::stat(platform.home.path("data/file").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(GrantedFilesTest, removesAndLeavesAsItIsTold) {
  rewrite(Rewriting::leave());
  EXPECT_EQ(platform.home.content("data/file"), "site and rest");
  rewrite(Rewriting::remove());
  EXPECT_FALSE(platform.home.exists("data/file"));
}

TEST_F(GrantedFilesTest, overwritesTheOldContentsWhenThePersonWantsThat) {
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  const HeldFile held(platform.home.path("data/file"));
  rewrite(Rewriting::replaceBy("rest"));
  EXPECT_EQ(platform.home.content("data/file"), "rest");
  EXPECT_FALSE(held.holds("site"));
}

TEST_F(GrantedFilesTest, leavesTheOldContentsWhenTheNewOnesCanNotBeWritten) {
  files.canCreate = false;
  rewrite(Rewriting::replaceBy("rest"));
  EXPECT_EQ(platform.home.content("data/file"), "site and rest");
}

TEST_F(GrantedFilesTest, leavesTheFileWhereFilesCanNotBeExchangedAndSaysSo) {
  files.exchangeError = std::errc::not_supported;
  EXPECT_EQ(rewrite(Rewriting::replaceBy("rest")), tidewell::Left::kFailed);
  EXPECT_EQ(platform.home.content("data/file"), "site and rest");
  EXPECT_FALSE(platform.home.exists("data/file.tidewell"));
}

TEST_F(GrantedFilesTest, leavesWhatWasSavedSinceItWasReadAndNothingOfItsOwn) {
  for (const Rewriting& rewriting : {Rewriting::replaceBy("rest"), Rewriting::remove()}) {
    const auto outcome = GrantedFiles::rewrite("~/data/file", [&](std::string_view) {
      save("saved");
      return rewriting;
    });
    EXPECT_EQ(outcome.left, tidewell::Left::kInUse);
    EXPECT_EQ(platform.home.content("data/file"), "saved");
    EXPECT_FALSE(platform.home.exists("data/file.tidewell"));
  }
}

TEST_F(GrantedFilesTest, leavesWhatWasSavedWhileTheNewContentsWereWritten) {
  files.beforeExchange = [&] { save("saved"); };
  rewrite(Rewriting::replaceBy("rest"));
  EXPECT_EQ(platform.home.content("data/file"), "saved");
  EXPECT_FALSE(platform.home.exists("data/file.tidewell"));
}

TEST_F(GrantedFilesTest, removesNothingWhenItIsNotKnownWhatWasSavedLast) {
  files.exchangeError = std::errc::io_error;
  rewrite(Rewriting::replaceBy("rest"));
  EXPECT_EQ(platform.home.content("data/file"), "site and rest");
  EXPECT_EQ(platform.home.content("data/file.tidewell"), "rest");
}

TEST_F(GrantedFilesTest, neverLosesWhatIsSavedAtFullSpeed) {
  int last = 0;
  std::uint64_t rewritten = 0;
  for (int round = 0; round < 100; ++round) {
    save("site " + std::to_string(++last));
    std::atomic<bool> goes = false;
    std::thread browser([&] {
      while (!goes) std::this_thread::yield();
      for (int times = 0; times < round % 5; ++times) save("site " + std::to_string(++last));
    });
    GrantedFiles::rewrite("~/data/file", [&](std::string_view contents) {
      goes = true;
      return Rewriting::replaceBy("rest " + std::string(contents.substr(5)));
    });
    browser.join();
    const std::string now = platform.home.content("data/file");
    ASSERT_EQ(now.substr(5), std::to_string(last));
    ASSERT_FALSE(platform.home.exists("data/file.tidewell"));
    if (now.starts_with("rest")) ++rewritten;
  }
  EXPECT_GE(rewritten, 20U);  // at least when nobody has saved
}

TEST_F(GrantedFilesTest, removesWhatAWorkerLeftThatWasEndedInTheMiddle) {
  platform.home.file("data/file.tidewell", "site");
  rewrite(Rewriting::replaceBy("rest"));
  EXPECT_EQ(platform.home.content("data/file"), "rest");
  EXPECT_FALSE(platform.home.exists("data/file.tidewell"));
}

TEST_F(GrantedFilesTest, followsNoLinkAndTouchesNothingOutsideOfTheGrant) {
  platform.elsewhere.file("file", "theirs");
  std::filesystem::create_symlink(platform.elsewhere.path("file"), platform.home.path("data/link"));
  for (const std::string& path : {platform.home.path("data/link"), platform.elsewhere.path("file")}) {
    GrantedFiles::rewrite(path, [](std::string_view) {
      ADD_FAILURE() << "read";
      return Rewriting::remove();
    });
  }
  EXPECT_EQ(platform.elsewhere.content("file"), "theirs");
}

TEST_F(GrantedFilesTest, ofWhatIsMissingDoesNothing) {
  GrantedFiles::rewrite("~/data/missing", [](std::string_view) { return Rewriting::replaceBy("made"); });
  EXPECT_FALSE(platform.home.exists("data/missing"));
}

TEST_F(GrantedFilesTest, aTreeGoesWithEveryFileOverwritten) {
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  const HeldFile held(platform.home.file("data/tree/a/b", "site"));
  GrantedFiles::remove("~/data/tree");
  EXPECT_FALSE(platform.home.exists("data/tree"));
  EXPECT_FALSE(held.holds("site"));
}

TEST_F(GrantedFilesTest, severalItemsOfAFolderGoTogether) {
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  const HeldFile held(platform.home.file("data/b/inner", "site"));
  platform.home.file("data/a", "site");
  const Outcome outcome = GrantedFiles::remove("~/data", {"a", "b", "missing"});
  EXPECT_EQ(outcome, (Outcome{Left::kNothing, 3, 8}));
  EXPECT_FALSE(platform.home.exists("data/a"));
  EXPECT_FALSE(platform.home.exists("data/b"));
  EXPECT_TRUE(platform.home.exists("data/file"));
  EXPECT_FALSE(held.holds("site"));
}

TEST_F(GrantedFilesTest, aFileBeyondItsBoundIsNotRead) {
  EXPECT_EQ(GrantedFiles::bytesOf("~/data/file", 13), "site and rest");
  EXPECT_EQ(GrantedFiles::bytesOf("~/data/file", 12), std::nullopt);
  std::filesystem::resize_file(platform.home.path("data/file"), std::uintmax_t{1} << 40);
  EXPECT_EQ(GrantedFiles::bytesOf("~/data/file"), std::nullopt);
}

TEST_F(GrantedFilesTest, aFileBeyondItsBoundCountsAsOneThatCanNotBeRead) {
  std::filesystem::resize_file(platform.home.path("data/file"), std::uintmax_t{1} << 40);
  GrantedFiles::rewrite("~/data/file", [](std::string_view contents) {
    return contents.empty() ? Rewriting::remove() : Rewriting::leave();
  });
  EXPECT_FALSE(platform.home.exists("data/file"));
}

TEST_F(GrantedFilesTest, recordsNothing) {
  const auto before = platform.own();
  platform.home.file("data/www.site.example/a");
  GrantedFiles::remove("~/data/www.site.example");
  rewrite(Rewriting::replaceBy("rest"));
  EXPECT_THAT(GrantedFiles::bytesOf("~/data/file"), ::testing::Optional(std::string("rest")));
  EXPECT_EQ(platform.own(), before);  // or names of sites would stay in the list of grants
}

TEST_F(GrantedFilesTest, aFolderIsListedUnderItsOwnGrantAlone) {
  platform.home.file("alone/one");
  platform.grant(platform.home.path("alone"));
  EXPECT_THAT(GrantedFiles::entriesOf("~/alone"), ElementsAre("one"));
  EXPECT_THAT(platform.openPanel.shown(), IsEmpty());
  GrantedFiles::removeContentsOf("~/alone");
  EXPECT_FALSE(platform.home.exists("alone/one"));
  EXPECT_TRUE(platform.home.exists("alone"));
}

TEST_F(GrantedFilesTest, whereNothingIsGrantedNobodyIsAsked) {
  const std::string file = platform.elsewhere.file("file", "theirs");
  EXPECT_FALSE(GrantedFiles::isGranted(platform.elsewhere.path()));
  EXPECT_EQ(GrantedFiles::bytesOf(file), std::nullopt);
  EXPECT_THAT(GrantedFiles::entriesOf(platform.elsewhere.path()), IsEmpty());
  GrantedFiles::remove(file);
  EXPECT_EQ(GrantedFiles::remove(platform.elsewhere.path(), {"file"}).left, Left::kNotAllowed);
  EXPECT_EQ(platform.elsewhere.content("file"), "theirs");
  EXPECT_THAT(platform.openPanel.shown(), IsEmpty());
}

TEST_F(GrantedFilesTest, aGrantThatCanNotBeMadeGoodAnyMoreIsNone) {
  platform.home.file("alone/one");
  const std::string key = "bd_file://" + platform.home.path("alone") + "/";
  platform.own().insert_or_assign(key, platform::dataFromBytes("of another time"));
  EXPECT_FALSE(GrantedFiles::isGranted("~/alone"));
  EXPECT_THAT(GrantedFiles::entriesOf("~/alone"), IsEmpty());
  EXPECT_THAT(platform.openPanel.shown(), IsEmpty());
}

TEST_F(GrantedFilesTest, aGrantCountsUnderEveryNameThatLinksGiveItsFolder) {
  platform.home.link("name", "data");
  EXPECT_TRUE(GrantedFiles::isGranted("~/name"));
  EXPECT_EQ(GrantedFiles::bytesOf("~/name/file"), "site and rest");
}

TEST_F(GrantedFilesTest, aLinkToAFolderIsNoFolder) {
  platform.home.folder("data/folder");
  platform.home.link("data/link", "folder");
  EXPECT_TRUE(GrantedFiles::isDirectory("~/data/folder"));
  for (const char* path : {"~/data/link", "~/data/file", "~/data/missing"}) {
    EXPECT_FALSE(GrantedFiles::isDirectory(path)) << path;
  }
}

}  // namespace
