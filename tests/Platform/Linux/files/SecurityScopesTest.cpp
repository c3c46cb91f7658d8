// Grants: what can be recorded, what a bookmark resolves to, and what is open meanwhile.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <thread>

#include "Platform/Linux/files/SecurityScopes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Data;
using platform::FileURL;
using platform::linux_::SecurityScopes;
using testing_support::ScratchFolder;
namespace fs = std::filesystem;

class Grants : public ::testing::Test {
 protected:
  /// The data that would be in the settings if the user had chosen the folder.
  static Data earlierGrant(const std::string& path) {
    SecurityScopes session;
    session.openForProcess(FileURL(path, true));
    return *session.bookmarkData(FileURL(path, true));
  }
  bool canReach(const std::string& path) const { return static_cast<bool>(scopes.open(path, O_RDONLY)); }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
};

// Recording.

TEST_F(Grants, canNotBeRecordedForAnythingWhileNothingIsOpen) {
  EXPECT_FALSE(scopes.bookmarkData(FileURL("/", true)));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path(), true)));
}

TEST_F(Grants, canBeRecordedForWhatLiesInAnOpenScope) {
  granted.file("sub/a");
  scopes.openForProcess(FileURL(granted.path(), true));
  EXPECT_TRUE(scopes.bookmarkData(FileURL(granted.path(), true)));
  EXPECT_TRUE(scopes.bookmarkData(FileURL(granted.path("sub"), true)));
  EXPECT_TRUE(scopes.bookmarkData(FileURL(granted.path("sub/a"))));
}

TEST_F(Grants, canNotBeRecordedForWhatLiesOutsideEveryOpenScope) {
  granted.file("a");
  elsewhere.file("a");
  scopes.openForProcess(FileURL(granted.path(), true));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(elsewhere.path(), true)));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(elsewhere.path("a"))));
  EXPECT_FALSE(scopes.bookmarkData(FileURL("/tmp", true)));
  EXPECT_FALSE(scopes.bookmarkData(FileURL("/", true)));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path() + "x", true)));
}

TEST_F(Grants, canNotBeRecordedOverALinkOrDotsThatLeadOut) {
  elsewhere.file("folder/a");
  granted.link("out", elsewhere.path("folder"));
  scopes.openForProcess(FileURL(granted.path(), true));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path("out"), true)));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path("out/a"))));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path("../" + elsewhere.path().substr(5)), true)));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path(".."), true)));
}

TEST_F(Grants, canNotBeRecordedForWhatDoesNotExist) {
  scopes.openForProcess(FileURL(granted.path(), true));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path("missing"))));
}

TEST_F(Grants, canNoLongerBeRecordedWhenTheScopeIsClosed) {
  const auto url = *scopes.resolveBookmarkData(earlierGrant(granted.path())).url;
  scopes.startAccessing(url);
  EXPECT_TRUE(scopes.bookmarkData(FileURL(granted.path(), true)));
  scopes.stopAccessing(url);
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path(), true)));
  // The resolved URL carries its grant, so that a stale bookmark can be refreshed.
  EXPECT_TRUE(scopes.bookmarkData(url));
}

TEST_F(Grants, ofALinkInsideAreThoseOfItsTarget) {
  granted.folder("real");
  granted.link("link", granted.path("real"));
  scopes.openForProcess(FileURL(granted.path(), true));
  const auto data = scopes.bookmarkData(FileURL(granted.path("link")));
  ASSERT_TRUE(data);
  EXPECT_EQ(scopes.resolveBookmarkData(*data).url->path(), granted.path("real"));
}

// Resolving.

TEST_F(Grants, comeBackAsTheUrlOfTheSameFolder) {
  const auto resolved = scopes.resolveBookmarkData(earlierGrant(granted.path()));
  ASSERT_TRUE(resolved.url);
  EXPECT_EQ(*resolved.url, FileURL(granted.path(), true));
  EXPECT_FALSE(resolved.isStale);
  EXPECT_NE(resolved.url->securityScope(), nullptr);
}

TEST_F(Grants, ofAFolderThatWasReplacedAreStale) {
  granted.folder("sub");
  const Data data = earlierGrant(granted.path("sub"));
  fs::rename(granted.path("sub"), granted.path("moved"));
  granted.folder("sub");
  const auto resolved = scopes.resolveBookmarkData(data);
  ASSERT_TRUE(resolved.url);
  EXPECT_TRUE(resolved.isStale);
}

TEST_F(Grants, ofAFolderThatIsGoneAreNothing) {
  granted.folder("sub");
  const Data data = earlierGrant(granted.path("sub"));
  fs::remove(granted.path("sub"));
  EXPECT_FALSE(scopes.resolveBookmarkData(data).url);
}

TEST_F(Grants, whosePathNowLeadsOverALinkAreNothing) {
  granted.folder("a/b");
  elsewhere.folder("b");
  const Data ofA = earlierGrant(granted.path("a"));
  const Data ofB = earlierGrant(granted.path("a/b"));
  fs::rename(granted.path("a"), granted.path("moved"));
  granted.link("a", elsewhere.path());
  EXPECT_FALSE(scopes.resolveBookmarkData(ofA).url);
  EXPECT_FALSE(scopes.resolveBookmarkData(ofB).url);
  fs::remove(granted.path("a"));
  granted.link("a", granted.path("moved"));  // even to the very same folder
  EXPECT_FALSE(scopes.resolveBookmarkData(ofA).url);
}

TEST_F(Grants, thatAreDamagedAreNothing) {
  EXPECT_FALSE(scopes.resolveBookmarkData({}).url);
  EXPECT_FALSE(scopes.resolveBookmarkData(platform::dataFromBytes("not a bookmark")).url);
}

TEST_F(Grants, ofAPathWithDotsAreNothing) {
  const Data forged = platform::linux_::BookmarkData{{1, 1}, granted.path() + "/.."}.encoded();
  EXPECT_FALSE(scopes.resolveBookmarkData(forged).url);
}

TEST_F(Grants, mayBeOfOneFile) {
  granted.file("a");
  granted.file("b");
  const auto url = *scopes.resolveBookmarkData(earlierGrant(granted.path("a"))).url;
  EXPECT_TRUE(scopes.startAccessing(url));
  EXPECT_TRUE(canReach(granted.path("a")));
  EXPECT_FALSE(canReach(granted.path("b")));
  EXPECT_FALSE(canReach(granted.path()));
  scopes.stopAccessing(url);
}

// Opening and closing.

TEST_F(Grants, openNothingUntilTheyAreStarted) {
  granted.file("a");
  const auto url = *scopes.resolveBookmarkData(earlierGrant(granted.path())).url;
  EXPECT_FALSE(canReach(granted.path("a")));
  EXPECT_TRUE(scopes.startAccessing(url));
  EXPECT_TRUE(canReach(granted.path("a")));
  scopes.stopAccessing(url);
  EXPECT_FALSE(canReach(granted.path("a")));
}

TEST_F(Grants, areCounted) {
  granted.file("a");
  const auto url = *scopes.resolveBookmarkData(earlierGrant(granted.path())).url;
  scopes.startAccessing(url);
  scopes.startAccessing(url);
  scopes.stopAccessing(url);
  EXPECT_TRUE(canReach(granted.path("a")));
  scopes.stopAccessing(url);
  EXPECT_FALSE(canReach(granted.path("a")));
  scopes.stopAccessing(url);  // one call too many has no effect
  EXPECT_FALSE(canReach(granted.path("a")));
}

TEST_F(Grants, ofAPanelStayOpenThoughAccessesEnd) {
  granted.file("a");
  scopes.openForProcess(FileURL(granted.path(), true));
  const auto url = *scopes.resolveBookmarkData(earlierGrant(granted.path())).url;
  scopes.startAccessing(url);
  scopes.stopAccessing(url);
  EXPECT_TRUE(canReach(granted.path("a")));
}

TEST_F(Grants, ofAPanelAreNotMovedByALinkThatCameMeanwhile) {
  // The user was shown a folder, but a link is there by the time that the answer arrives.
  granted.link("shown", elsewhere.path());
  elsewhere.file("a");
  scopes.openForProcess(FileURL(granted.path("shown"), true));
  EXPECT_FALSE(canReach(elsewhere.path("a")));
  EXPECT_FALSE(canReach(granted.path("shown/a")));
  EXPECT_FALSE(scopes.bookmarkData(FileURL(granted.path("shown"), true)));
}

TEST_F(Grants, ofAPanelDoNotPassToAFolderThatTookThePlace) {
  granted.file("sub/a");
  scopes.openForProcess(FileURL(granted.path("sub"), true));
  fs::rename(granted.path("sub"), granted.path("moved"));
  granted.file("sub/a");
  const auto url = *scopes.resolveBookmarkData(earlierGrant(granted.path("sub"))).url;
  EXPECT_TRUE(scopes.startAccessing(url));
  EXPECT_TRUE(canReach(granted.path("sub/a")));
  scopes.stopAccessing(url);
  EXPECT_FALSE(canReach(granted.path("sub/a")));
}

TEST_F(Grants, ofAFolderThatTookThePlaceAreNotClosedByAnOlderAccess) {
  granted.file("sub/a");
  const auto older = *scopes.resolveBookmarkData(earlierGrant(granted.path("sub"))).url;
  scopes.startAccessing(older);
  fs::rename(granted.path("sub"), granted.path("moved"));
  granted.file("sub/a");
  const auto newer = *scopes.resolveBookmarkData(earlierGrant(granted.path("sub"))).url;
  scopes.startAccessing(newer);
  scopes.stopAccessing(older);
  EXPECT_TRUE(canReach(granted.path("sub/a")));
  scopes.stopAccessing(newer);
  EXPECT_FALSE(canReach(granted.path("sub/a")));
}

TEST_F(Grants, areNotClosedByTheStopOfAStartThatFailed) {
  granted.file("sub/a");
  const Data data = earlierGrant(granted.path("sub"));
  const auto somebodys = *scopes.resolveBookmarkData(data).url;
  const auto failing = *scopes.resolveBookmarkData(data).url;
  EXPECT_TRUE(scopes.startAccessing(somebodys));
  fs::rename(granted.path("sub"), granted.path("moved"));
  EXPECT_FALSE(scopes.startAccessing(failing));
  fs::rename(granted.path("moved"), granted.path("sub"));
  scopes.stopAccessing(failing);
  EXPECT_TRUE(canReach(granted.path("sub/a")));
  scopes.stopAccessing(somebodys);
  EXPECT_FALSE(canReach(granted.path("sub/a")));
}

TEST_F(Grants, areNotClosedByAnAccessThatEndedWhenAnotherFolderTookThePlace) {
  granted.file("sub/a");
  const Data data = earlierGrant(granted.path("sub"));
  const auto older = *scopes.resolveBookmarkData(data).url;
  scopes.startAccessing(older);
  fs::rename(granted.path("sub"), granted.path("first"));
  granted.folder("sub");
  const auto between = *scopes.resolveBookmarkData(earlierGrant(granted.path("sub"))).url;
  scopes.startAccessing(between);  // takes the scope over
  fs::rename(granted.path("sub"), granted.path("second"));
  fs::rename(granted.path("first"), granted.path("sub"));
  const auto newer = *scopes.resolveBookmarkData(data).url;
  scopes.startAccessing(newer);
  scopes.stopAccessing(older);
  scopes.stopAccessing(between);
  EXPECT_TRUE(canReach(granted.path("sub/a")));
  scopes.stopAccessing(newer);
  EXPECT_FALSE(canReach(granted.path("sub/a")));
}

TEST_F(Grants, areNotCarriedByAUrlThatWasMadeByHand) {
  EXPECT_FALSE(scopes.startAccessing(FileURL(granted.path(), true)));
  EXPECT_FALSE(canReach(granted.path()));
}

TEST_F(Grants, giveAccessToNothingOnceSomethingElseStandsThere) {
  granted.file("sub/a");
  scopes.openForProcess(FileURL(granted.path("sub"), true));
  EXPECT_TRUE(canReach(granted.path("sub/a")));
  fs::rename(granted.path("sub"), granted.path("moved"));
  granted.file("sub/a");
  EXPECT_FALSE(canReach(granted.path("sub/a")));
  EXPECT_FALSE(canReach(granted.path("moved/a")));
}

// The way to a file.

TEST_F(Grants, reachWhatALinkInsideLeadsToInside) {
  granted.file("real/a");
  granted.link("link", "real");
  scopes.openForProcess(FileURL(granted.path(), true));
  EXPECT_TRUE(canReach(granted.path("link/a")));
  EXPECT_TRUE(canReach(granted.path("real/../link/./a")));
}

TEST_F(Grants, doNotReachThroughLinksThatLeadOut) {
  elsewhere.file("a");
  granted.link("file", elsewhere.path("a"));
  granted.link("folder", elsewhere.path());
  granted.link("up", "../" + elsewhere.path().substr(5));
  granted.link("root", "/");
  scopes.openForProcess(FileURL(granted.path(), true));
  for (const char* path : {"file", "folder/a", "up/a", "root/etc/passwd", "../../etc/passwd"}) {
    const auto opened = scopes.open(granted.path(path), O_RDONLY);
    EXPECT_EQ(opened.error(), std::errc::operation_not_permitted) << path;
  }
}

TEST_F(Grants, reachAnotherGrantThroughALink) {
  elsewhere.file("a");
  granted.link("out", elsewhere.path());
  scopes.openForProcess(FileURL(granted.path(), true));
  scopes.openForProcess(FileURL(elsewhere.path(), true));
  EXPECT_TRUE(canReach(granted.path("out/a")));
}

TEST_F(Grants, ofTheRootCoverEverything) {
  scopes.openForProcess(FileURL("/", true));
  EXPECT_TRUE(canReach("/etc/passwd"));
  EXPECT_FALSE(scopes.locate("/"));
}

TEST_F(Grants, doNotSurviveALinkThatIsSwappedInWhileWeLook) {
  // One thread keeps exchanging a folder and a link to the outside; no open may ever arrive outside.
  elsewhere.file("a", "outside");
  granted.file("sub/a", "inside");
  granted.link("link", elsewhere.path());
  scopes.openForProcess(FileURL(granted.path(), true));
  std::atomic<bool> done = false;
  std::thread swapper([&] {
    while (!done) {
      ::renameat2(AT_FDCWD, granted.path("sub").c_str(), AT_FDCWD, granted.path("link").c_str(), RENAME_EXCHANGE);
    }
  });
  int inside = 0;
  for (int round = 0; round < 20'000; ++round) {
    const auto opened = scopes.open(granted.path("sub/a"), O_RDONLY);
    if (!opened) continue;
    std::array<char, 8> content{};
    ASSERT_GT(::read(opened->get(), content.data(), content.size()), 0);
    ASSERT_EQ(std::string_view(content.data(), 6), "inside");
    ++inside;
  }
  done = true;
  swapper.join();
  EXPECT_GT(inside, 0);
}

}  // namespace
