// File actions, and what they refuse.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::UnflushedFile;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using testing_support::ScratchFolder;

class Files : public ::testing::Test {
 protected:
  Files() { scopes.openForProcess(FileURL(granted.path(), true)); }

  std::vector<std::string> walk(const std::string& folder, platform::EnumerationErrorHandler handler = nullptr) {
    std::vector<std::string> paths;
    const auto enumerator = files.enumeratorAtURL(FileURL(folder, true), std::move(handler));
    while (const auto item = enumerator->nextObject()) paths.push_back(item->path().substr(granted.path().size() + 1));
    return paths;
  }
  ino_t inode(const std::string& below) const {
    struct stat status {};
    EXPECT_EQ(::lstat(granted.path(below).c_str(), &status), 0) << below;
    return status.st_ino;
  }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts/folder")};
};

TEST_F(Files, areRegularWhenTheyAreFilesThemselves) {
  const std::string path = elsewhere.file("folder/a");  // needs no grant
  elsewhere.link("link", path);
  ASSERT_EQ(::mkfifo(elsewhere.path("pipe").c_str(), 0600), 0);
  EXPECT_TRUE(files.isRegularFile(path));
  for (const std::string& other : {elsewhere.path("link"), elsewhere.path("pipe"), elsewhere.path("folder"),
                                   elsewhere.path("missing"), std::string(), path + std::string("\0x", 2)}) {
    EXPECT_FALSE(files.isRegularFile(other)) << other;
  }
}

TEST_F(Files, areNotWaitedForWhileALeaseIsHeldOnThem) {
  const std::string path = granted.file("leased", "contents");
  ::signal(SIGIO, SIG_IGN);  // the wish that the lease be given up
  const int holder = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::fcntl(holder, F_SETLEASE, F_WRLCK), 0);
  EXPECT_EQ(files.stringWithContentsOfFile(path).error(), std::errc::resource_unavailable_try_again);
  EXPECT_EQ(files.readableFile(path).error(), std::errc::resource_unavailable_try_again);
  ::close(holder);
  ::signal(SIGIO, SIG_DFL);
  EXPECT_EQ(*files.stringWithContentsOfFile(path), "contents");
}

TEST_F(Files, outsideEveryGrantCanBeAskedForButNotTouched) {
  elsewhere.file("folder/a");
  const std::string path = elsewhere.path("folder");
  EXPECT_TRUE(files.fileExists(path));
  bool isDirectory = false;
  EXPECT_TRUE(files.fileExists(path, isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_EQ(files.stringWithContentsOfFile(path + "/a").error(), std::errc::operation_not_permitted);
  EXPECT_EQ(files.contentsOfDirectory(path).error(), std::errc::operation_not_permitted);
  EXPECT_EQ(files.attributesOfItem(path + "/a").error(), std::errc::operation_not_permitted);
  EXPECT_EQ(files.removeItem(path).error, std::errc::operation_not_permitted);
  EXPECT_EQ(files.removeItem(path + "/a").error, std::errc::operation_not_permitted);
  EXPECT_EQ(files.removeOverwrittenItem(path + "/a", UnflushedFile::stays).error, std::errc::operation_not_permitted);
  EXPECT_FALSE(files.enumeratorAtURL(FileURL(path, true), nullptr)->nextObject());
  EXPECT_TRUE(elsewhere.exists("folder/a"));
}

TEST_F(Files, withANulByteInTheirNameDoNotExist) {
  granted.file("a");
  const std::string path = granted.path(std::string("a\0b", 3));
  EXPECT_FALSE(files.fileExists(path));
  EXPECT_EQ(files.removeItem(path).error, std::errc::invalid_argument);
  EXPECT_TRUE(granted.exists("a"));
}

TEST_F(Files, readAsTextMustBeRegularFilesOfValidUTF8) {
  granted.file("good", "é\0x");
  granted.file("bad", "\xc3");
  granted.folder("folder");
  ASSERT_EQ(::mkfifo(granted.path("pipe").c_str(), 0600), 0);
  EXPECT_TRUE(files.stringWithContentsOfFile(granted.path("good")));
  EXPECT_EQ(files.stringWithContentsOfFile(granted.path("bad")).error(), std::errc::illegal_byte_sequence);
  EXPECT_FALSE(files.stringWithContentsOfFile(granted.path("folder")));
  EXPECT_FALSE(files.stringWithContentsOfFile(granted.path("pipe")));  // without waiting for a writer
  EXPECT_FALSE(files.stringWithContentsOfFile(granted.path("missing")));
}

TEST_F(Files, readWholeHoweverLarge) {
  const std::string text(3'000'000, 'x');
  granted.file("large", text);
  EXPECT_EQ(*files.stringWithContentsOfFile(granted.path("large")), text);
}

TEST_F(Files, readAsTextHaveABound) {
  granted.file("largest");
  granted.file("sparse");
  std::filesystem::resize_file(granted.path("largest"), 64U << 20);
  std::filesystem::resize_file(granted.path("sparse"), std::uintmax_t{1} << 40);
  EXPECT_EQ(files.stringWithContentsOfFile(granted.path("largest"))->size(), 64U << 20);
  EXPECT_EQ(files.stringWithContentsOfFile(granted.path("sparse")).error(), std::errc::file_too_large);
}

TEST_F(Files, listedAreTheEntriesWithoutDots) {
  granted.file("folder/a");
  granted.file("folder/.b");
  granted.link("folder/c", "nowhere");
  EXPECT_THAT(*files.contentsOfDirectory(granted.path("folder")), UnorderedElementsAre("a", ".b", "c"));
}

TEST_F(Files, walkedAreAllBelowWithAFolderBeforeItsContents) {
  granted.file("folder/sub/deep/a");
  granted.file("folder/.hidden");
  granted.link("folder/link", "sub");
  const auto paths = walk(granted.path("folder"));
  EXPECT_THAT(paths, UnorderedElementsAre("folder/sub", "folder/sub/deep", "folder/sub/deep/a", "folder/.hidden",
                                          "folder/link"));
  const auto at = [&](const char* path) { return std::find(paths.begin(), paths.end(), path); };
  EXPECT_LT(at("folder/sub"), at("folder/sub/deep"));
  EXPECT_LT(at("folder/sub/deep"), at("folder/sub/deep/a"));
}

TEST_F(Files, walkedMayLieThousandsOfFoldersDeep) {
  std::string name(200, 'd');
  int folder = ::open(granted.path().c_str(), O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < 3000; ++level) {
    ASSERT_EQ(::mkdirat(folder, name.c_str(), 0700), 0);
    const int next = ::openat(folder, name.c_str(), O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    folder = next;
  }
  ::close(folder);
  const auto enumerator = files.enumeratorAtURL(FileURL(granted.path(), true), nullptr);
  int count = 0;
  while (const auto item = enumerator->nextObject()) {
    ++count;
    if (count == 3000) {
      EXPECT_EQ(item->path().size(), granted.path().size() + std::size_t{3000} * 201);
    }
  }
  EXPECT_EQ(count, 3000);
  EXPECT_FALSE(files.removeItem(granted.path(name)).error);
}

TEST_F(Files, walkedStopAtAnErrorWhenTheHandlerSaysSo) {
  granted.file("folder/closed/a");
  ::chmod(granted.path("folder/closed").c_str(), 0);
  [[maybe_unused]] const int owned = ::chown(granted.path("folder/closed").c_str(), 12345, 12345);
  std::vector<std::string> reported;
  const testing_support::OrdinaryUser user(granted.path());
  walk(granted.path("folder"), [&](const FileURL& url, std::error_code) {
    reported.push_back(url.path());
    return false;
  });
  EXPECT_THAT(reported, ElementsAre(granted.path("folder/closed")));
}

TEST_F(Files, attributesAreOfTheLinkAndNotOfItsTarget) {
  granted.file("a", "123");
  granted.link("link", "a");
  EXPECT_EQ(files.attributesOfItem(granted.path("link"))->at(platform::kFileType),
            platform::Value(platform::kFileTypeSymbolicLink));
  const auto attributes = *files.attributesOfItem(granted.path("a"));
  EXPECT_EQ(attributes.at(platform::kFileSize), platform::Value(3));
  EXPECT_EQ(attributes.at(platform::kFileReferenceCount), platform::Value(1));
  EXPECT_EQ(attributes.at(platform::kFilePosixPermissions), platform::Value(0644));
  EXPECT_TRUE(attributes.contains(platform::kFileModificationDate));
  EXPECT_TRUE(attributes.contains(platform::kFileOwnerAccountID));
}

TEST_F(Files, urlOfAPathIsAFoldersWhereAFolderStands) {
  granted.folder("folder");
  granted.file("a");
  EXPECT_EQ(files.fileURLWithPath(granted.path("folder")).absoluteString(), "file://" + granted.path("folder") + "/");
  EXPECT_EQ(files.fileURLWithPath(granted.path("a")).absoluteString(), "file://" + granted.path("a"));
  EXPECT_EQ(files.fileURLWithPath(granted.path("missing")).absoluteString(), "file://" + granted.path("missing"));
  EXPECT_EQ(files.fileURLWithPath(granted.path("missing/")).absoluteString(),
            "file://" + granted.path("missing") + "/");
}

TEST_F(Files, urlWithLinksResolvedIsThatOfWhatExists) {
  granted.folder("real");
  granted.link("link", "real");
  const auto resolved = [&](const char* path) {
    return files.urlByResolvingSymlinks(FileURL(granted.path(path))).path();
  };
  EXPECT_EQ(resolved("link"), granted.path("real"));
  EXPECT_EQ(resolved("link/missing/deeper"), granted.path("real/missing/deeper"));
}

TEST_F(Files, urlInStandardFormHasNoDots) {
  granted.folder("a/b");
  EXPECT_EQ(files.standardizedURL(FileURL(granted.path("a/./b/../c"))).path(), granted.path("a/c"));
  EXPECT_EQ(files.standardizedURL(FileURL("/../../x")).path(), "/x");
}

TEST_F(Files, removedAfterOverwritingAreFlushedUnlessTheyAreFolders) {
  granted.file("a");
  granted.file("folder/b");
  granted.link("link", "folder");
  const ino_t first = inode("a");
  const ino_t second = inode("folder/b");
  testing_support::SystemCalls calls;
  bool wasThere = false;
  calls.beforeFlush = [&] { wasThere = granted.exists("a"); };
  EXPECT_FALSE(files.removeOverwrittenItem(granted.path("a"), UnflushedFile::stays).error);
  EXPECT_TRUE(wasThere);
  EXPECT_FALSE(files.removeOverwrittenItem(granted.path("folder/b"), UnflushedFile::stays).error);
  EXPECT_FALSE(files.removeOverwrittenItem(granted.path("link"), UnflushedFile::stays).error);
  EXPECT_FALSE(files.removeOverwrittenItem(granted.path("folder"), UnflushedFile::stays).error);
  EXPECT_TRUE(granted.tree().empty());
  EXPECT_EQ(calls.flushed, (std::vector<ino_t>{first, second}));
}

TEST_F(Files, removedAfterOverwritingStayWhenTheyCanNotBeFlushed) {
  granted.file("a", "overwritten");
  testing_support::SystemCalls calls;
  calls.failingFlush = 1;
  EXPECT_EQ(files.removeOverwrittenItem(granted.path("a"), UnflushedFile::stays).error, std::errc::io_error);
  EXPECT_EQ(granted.content("a"), "overwritten");
}

TEST_F(Files, removedAfterOverwritingGoUnflushedWhereThatIsWanted) {
  granted.file("a");
  const ino_t number = inode("a");
  testing_support::SystemCalls calls;
  calls.failingFlush = 1;
  EXPECT_FALSE(files.removeOverwrittenItem(granted.path("a"), UnflushedFile::isRemoved).error);
  EXPECT_EQ(calls.flushed, std::vector<ino_t>{number});
  EXPECT_FALSE(granted.exists("a"));
}

TEST_F(Files, removedWithoutHavingBeenOverwrittenAreNotFlushed) {
  granted.file("a");
  testing_support::SystemCalls calls;
  EXPECT_FALSE(files.removeItem(granted.path("a")).error);
  EXPECT_TRUE(calls.flushed.empty());
}

TEST_F(Files, removedAndMissingIsTold) {
  EXPECT_EQ(files.removeItem(granted.path("missing")).error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(files.removeItem(granted.path("missing/deeper")).error, std::errc::no_such_file_or_directory);
}

TEST_F(Files, copiedKeepTheirPermissionsAndAreWholeAtOnce) {
  elsewhere.file("source", std::string(3'000'000, 'x'));
  ::chmod(elsewhere.path("source").c_str(), 0755);
  const FileURL source(elsewhere.path("source"));
  EXPECT_FALSE(files.copyItem(source, FileURL(granted.path("copy"))));
  EXPECT_EQ(granted.content("copy"), elsewhere.content("source"));
  struct stat status {};
  ASSERT_EQ(::stat(granted.path("copy").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0755U);
}

TEST_F(Files, copiedDoNotReplaceAnything) {
  elsewhere.file("source");
  granted.file("there", "kept");
  granted.link("link", elsewhere.path("new"));
  const FileURL source(elsewhere.path("source"));
  EXPECT_EQ(files.copyItem(source, FileURL(granted.path("there"))), std::errc::file_exists);
  EXPECT_EQ(files.copyItem(source, FileURL(granted.path("link"))), std::errc::file_exists);
  EXPECT_EQ(granted.content("there"), "kept");
  EXPECT_FALSE(elsewhere.exists("new"));
}

TEST_F(Files, copiedGoToGrantedPlacesOnly) {
  granted.file("source");
  const FileURL source(granted.path("source"));
  EXPECT_EQ(files.copyItem(source, FileURL(elsewhere.path("copy"))), std::errc::operation_not_permitted);
  EXPECT_EQ(files.copyItem(FileURL(granted.path("missing")), FileURL(granted.path("copy"))),
            std::errc::no_such_file_or_directory);
  EXPECT_TRUE(elsewhere.tree().empty());
}

TEST_F(Files, pinnedForOthersMustBeRegularFilesInsideAGrant) {
  granted.file("real/db");
  granted.link("inside", granted.path("real/db"));
  elsewhere.file("db");
  granted.link("outside", elsewhere.path("db"));
  const auto pinned = files.pinnedFile(granted.path("inside"));
  ASSERT_TRUE(pinned);
  EXPECT_EQ((*pinned)->path(), granted.path("real/db"));
  EXPECT_TRUE((*pinned)->isInPlace());
  std::filesystem::rename(granted.path("real/db"), granted.path("real/moved"));
  EXPECT_FALSE((*pinned)->isInPlace());
  EXPECT_EQ(files.pinnedFile(granted.path("outside")).error(), std::errc::operation_not_permitted);
  EXPECT_EQ(files.pinnedFile(elsewhere.path("db")).error(), std::errc::operation_not_permitted);
  EXPECT_FALSE(files.pinnedFile(granted.path("real")));
  EXPECT_FALSE(files.pinnedFile(granted.path("missing")));
}

TEST_F(Files, scriptsFolderIsMadeWhenAskedTo) {
  EXPECT_EQ(files.applicationScriptsDirectory(false)->path(), granted.path("scripts/folder"));
  EXPECT_FALSE(granted.exists("scripts"));
  const auto folder = files.applicationScriptsDirectory(true);
  ASSERT_TRUE(folder);
  EXPECT_EQ(folder->path(), granted.path("scripts/folder"));
  EXPECT_TRUE(files.fileExists(folder->path()));
}

}  // namespace
