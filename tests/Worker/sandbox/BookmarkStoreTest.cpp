// Where grants are kept, and which one serves a path.

#include "Worker/sandbox/AppSandboxFileAccessPersist.h"
#include "tests/support/WorkerTest.h"

namespace {

using platform::dataFromBytes;
using platform::FileURL;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::WorkerTest;
using tidewell::AppSandboxFileAccessPersist;

class BookmarkStore : public WorkerTest {
 protected:
  static void store(const std::string& bytes, const FileURL& url) {
    AppSandboxFileAccessPersist::setBookmarkData_forURL(dataFromBytes(bytes), url);
  }
  static std::string lookUp(const FileURL& url) {
    const auto data = AppSandboxFileAccessPersist::bookmarkDataForURL(url);
    return data ? std::string(platform::bytesOf(*data)) : "nothing";
  }
};

TEST_F(BookmarkStore, keyOfAFolderEndsInASlash) {
  EXPECT_EQ(AppSandboxFileAccessPersist::keyForBookmarkDataForURL(FileURL("/Users/ann/Library/Safari", true)),
            "bd_file:///Users/ann/Library/Safari/");
}

TEST_F(BookmarkStore, keyOfAFileDoesNot) {
  EXPECT_EQ(AppSandboxFileAccessPersist::keyForBookmarkDataForURL(FileURL("/Users/ann/a.txt")),
            "bd_file:///Users/ann/a.txt");
}

TEST_F(BookmarkStore, keyIsPercentEncoded) {
  EXPECT_EQ(
      AppSandboxFileAccessPersist::keyForBookmarkDataForURL(FileURL("/Users/ann/Library/Application Support", true)),
      "bd_file:///Users/ann/Library/Application%20Support/");
  EXPECT_EQ(AppSandboxFileAccessPersist::keyForBookmarkDataForURL(FileURL("/a/\xc3\xa9%?#[1]", false)),
            "bd_file:///a/%C3%A9%25%3F%23%5B1%5D");
}

TEST_F(BookmarkStore, liesInTheWorkersOwnSettings) {
  store("grant", FileURL("/Users/ann", true));
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre("bd_file:///Users/ann/"));
  EXPECT_THAT(platform.userDefaults.keys(tidewell::kSharedSuite), IsEmpty());
}

TEST_F(BookmarkStore, givesTheUrlsOwnGrant) {
  store("own", FileURL("/Users/ann/Library", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann/Library", true)), "own");
}

TEST_F(BookmarkStore, givesTheNearestFoldersGrant) {
  store("far", FileURL("/Users", true));
  store("near", FileURL("/Users/ann/Library/Safari", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann/Library/Safari/LocalStorage/x")), "near");
  EXPECT_EQ(lookUp(FileURL("/Users/ann/Library/Cookies", true)), "far");
}

TEST_F(BookmarkStore, givesNothingForASibling) {
  store("grant", FileURL("/Users/ann/Library/Safari", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann/Library/Safari2", true)), "nothing");
  EXPECT_EQ(lookUp(FileURL("/Users/ann/Library", true)), "nothing");
}

TEST_F(BookmarkStore, looksUpAFolderRightBelowTheRoot) {
  store("grant", FileURL("/a", true));
  EXPECT_EQ(lookUp(FileURL("/a", true)), "grant");
  EXPECT_EQ(lookUp(FileURL("/a/b/c", true)), "grant");
}

TEST_F(BookmarkStore, neverLooksUpTheRoot) {
  store("everything", FileURL("/", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann", true)), "nothing");
  EXPECT_EQ(lookUp(FileURL("/", true)), "nothing");
}

TEST_F(BookmarkStore, clearsTheUrlsOwnKeyOnly) {
  store("far", FileURL("/Users", true));
  store("near", FileURL("/Users/ann", true));
  AppSandboxFileAccessPersist::clearBookmarkDataForURL(FileURL("/Users/ann", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann", true)), "far");
  AppSandboxFileAccessPersist::clearBookmarkDataForURL(FileURL("/Users/ann", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann", true)), "far");
}

TEST_F(BookmarkStore, ignoresAValueThatIsNoData) {
  platform.own().insert_or_assign("bd_file:///Users/ann/", "text");
  store("far", FileURL("/Users", true));
  EXPECT_EQ(lookUp(FileURL("/Users/ann", true)), "far");
}

}  // namespace
