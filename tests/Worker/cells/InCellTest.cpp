#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Worker/cells/CellRequest.h"
#include "Worker/cells/CellWork.h"
#include "Worker/cells/InCell.h"
#include "Worker/formats/Preferences.h"
#include "Worker/formats/SessionStore.h"
#include "tests/support/ScriptedCells.h"
#include "tests/support/TestPlatform.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::ScriptedCells;
using testing_support::TestPlatform;
using tidewell::answerOf;
using tidewell::cellAnswer;
using tidewell::CellTask;
using tidewell::InCell;
using tidewell::Kept;
using tidewell::KeptSites;
using tidewell::OwnersInCell;
using tidewell::ProfileMap;
using tidewell::Rewriting;
using tidewell::TabFile;
using Action = Rewriting::Action;

constexpr char kPreferences[] =
    R"({"home":"mine","profile":{"content_settings":{"exceptions":{"cookies":{"https://a.test,*":{}}}}}})";
constexpr char kSession[] = R"({"windows":[{"tabs":[]}],"cookies":[{"host":"a.test"},{"host":"b.test"}]})";

/// What a cell answers that nothing has taken over.
std::optional<std::string> truth(std::string_view request) {
  return cellAnswer(request, [](std::string_view) { return std::nullopt; });
}

/// With the cells of a test in the place of the platform's own.
class InCellTest : public ::testing::Test {
 protected:
  void use(ScriptedCells::Script script) {
    cells = std::make_unique<ScriptedCells>(std::move(script));
    TestPlatform& p = platform;
    withCells = std::make_unique<platform::Platform>(platform::Platform{
        p.bundle, p.dispatch, p.fileManager, p.fileManagerOnOneMount, p.log, p.openPanel, p.scopes, p.system,
        p.userDefaults, p.notificationCenter, p.userScripts, p.workspace, *cells, p.confinement});
    platform::Platform::install(withCells.get());
  }
  /// The first cell answers this, and all others the truth.
  void lieAtFirst(std::optional<std::string> lie) {
    use([lie](std::size_t cell, std::string_view request) { return cell == 1 ? lie : truth(request); });
  }

  TestPlatform platform;
  std::unique_ptr<ScriptedCells> cells;
  std::unique_ptr<platform::Platform> withCells;
};

TEST_F(InCellTest, preferencesBecomeWhatTheReaderMakesOfThem) {
  const Rewriting rewriting = InCell::withoutSites(kPreferences, {});
  EXPECT_EQ(rewriting.action, Action::kReplace);
  EXPECT_EQ(rewriting.contents, tidewell::withoutSites(kPreferences).contents);
  EXPECT_EQ(InCell::withoutSites("no JSON", {}).action, Action::kLeave);
}

TEST_F(InCellTest, sessionsBecomeWhatTheReaderMakesOfThem) {
  const std::string file = tidewell::packedSession(kSession);
  for (const KeptSites& sites : {KeptSites(), KeptSites::of({"a.test"}), KeptSites::of({"=a.test", "b.test"})}) {
    const Rewriting rewriting = InCell::withoutSiteData(file, sites);
    const Rewriting expected = tidewell::withoutSiteData(file, sites);
    EXPECT_EQ(rewriting.action, expected.action);
    EXPECT_EQ(rewriting.contents, expected.contents);
  }
}

TEST_F(InCellTest, sessionsThatAreNoneGoUnlessSitesAreKept) {
  for (const std::string& file : {std::string("damaged"), tidewell::packedSession("no JSON")}) {
    EXPECT_EQ(InCell::withoutSiteData(file, {}).action, Action::kRemove);
    EXPECT_EQ(InCell::withoutSiteData(file, KeptSites::of({"a.test"})).action, Action::kLeaveUnread);
  }
}

TEST_F(InCellTest, listsOfProfilesAreRead) {
  EXPECT_EQ(InCell::profilesOfLocalState(R"({"profile":{"info_cache":{"Default":{"name":"Ann \u00e9"}}}})"),
            (ProfileMap{{"Default", "Ann é"}}));
  EXPECT_THAT(InCell::listedProfiles("[Profile0]\nPath=/srv/ann\n[Profile1]\nPath=a/b\n"),
              ElementsAre("/srv/ann", "a/b"));
}

TEST_F(InCellTest, nothingIsReadOrRemovedWhereACellEnds) {
  lieAtFirst(std::nullopt);
  EXPECT_EQ(InCell::withoutSites(kPreferences, {}).action, Action::kLeaveUnread);
  lieAtFirst(std::nullopt);
  EXPECT_EQ(InCell::withoutSiteData(tidewell::packedSession(kSession), {}).action, Action::kLeaveUnread);
  lieAtFirst(std::nullopt);
  EXPECT_EQ(InCell::withoutPageStates("SNSS", TabFile::kOpen).action, Action::kLeaveUnread);
  lieAtFirst(std::nullopt);
  EXPECT_THAT(InCell::listedProfiles("[Profile0]\nPath=/srv/ann\n"), IsEmpty());
  lieAtFirst(std::nullopt);
  EXPECT_FALSE(OwnersInCell(CellTask::kOriginsOfCaches).ownerIn("index"));
}

TEST_F(InCellTest, nothingIsReadOrRemovedWhereNoCellCanBeOpened) {
  lieAtFirst("");
  cells->canOpen = false;
  EXPECT_EQ(InCell::withoutSites(kPreferences, {}).action, Action::kLeaveUnread);
  EXPECT_EQ(InCell::withoutSiteData(tidewell::packedSession(kSession), {}).action, Action::kLeaveUnread);
  EXPECT_FALSE(OwnersInCell(CellTask::kOriginsOfCaches).ownerIn("index"));
}

TEST_F(InCellTest, answersOfNoFormAreNone) {
  for (const char* lie : {"", "\x07", "\x01", "x", "+"}) {
    lieAtFirst(lie);
    EXPECT_EQ(InCell::withoutSites(kPreferences, {}).action, Action::kLeaveUnread) << lie;
  }
}

TEST_F(InCellTest, preferencesGetNothingThatWasNotInThem) {
  lieAtFirst(answerOf(Rewriting::replaceBy(R"({"homepage":"https://evil.test"})")));
  EXPECT_EQ(InCell::withoutSites(kPreferences, {}).action, Action::kLeaveUnread);
}

TEST_F(InCellTest, preferencesStayWhereACellWantsThemToGo) {
  lieAtFirst(answerOf(Rewriting::remove()));
  EXPECT_EQ(InCell::withoutSites(kPreferences, {}).action, Action::kLeaveUnread);
}

TEST_F(InCellTest, aSecondCellMustFindNothingMoreToDo) {
  // Less than it was, but with the site's exception.
  lieAtFirst(answerOf(
      Rewriting::replaceBy(R"({"profile":{"content_settings":{"exceptions":{"cookies":{"https://a.test,*":{}}}}}})")));
  EXPECT_EQ(InCell::withoutSites(kPreferences, {}).action, Action::kLeaveUnread);
  EXPECT_EQ(cells->opened, 2U);
}

TEST_F(InCellTest, sessionsGetNothingThatWasNotInThem) {
  use([](std::size_t cell, std::string_view request) {
    return cell == 2 ? answerOf(std::optional<std::string>(R"({"windows":["evil"]})")) : truth(request);
  });
  EXPECT_EQ(InCell::withoutSiteData(tidewell::packedSession(kSession), {}).action, Action::kLeaveUnread);
}

TEST_F(InCellTest, profilesLeadNowhereElseWhoeverNamesThem) {
  lieAtFirst(answerOf(std::vector<std::string>{"../../x", "/", "", "/a/../b", "x", "/srv/ann", "a/b"}));
  EXPECT_THAT(InCell::listedProfiles(std::string(100, ' ')), ElementsAre("/srv/ann", "a/b"));
}

TEST_F(InCellTest, ownersAreNamedInTheFileOrNotAtAll) {
  use([](std::size_t, std::string_view) {
    return answerOf(std::vector<std::string>{answerOf(std::optional<std::string>("chrome-extension://abc/"))});
  });
  EXPECT_FALSE(OwnersInCell(CellTask::kOriginsOfCaches).ownerIn("an index of https://a.test/"));
}

TEST_F(InCellTest, ofManyFilesOnlyThoseAreUnreadThatACellFailsOn) {
  use([](std::size_t, std::string_view request) {
    return request.find("taken over") != std::string_view::npos ? std::nullopt : truth(request);
  });
  std::vector<std::string_view> files(100, "no index");
  files[7] = files[77] = "taken over";
  const auto owners = OwnersInCell(CellTask::kOriginsOfCaches).ownersIn(files);
  ASSERT_THAT(owners, SizeIs(files.size()));
  for (std::size_t index = 0; index < files.size(); ++index) {
    EXPECT_EQ(owners[index].has_value(), index != 7 && index != 77) << index;
  }
}

TEST_F(InCellTest, aStoreThatFailsAgainAndAgainIsGivenUp) {
  use([](std::size_t, std::string_view) { return std::nullopt; });
  EXPECT_THAT(OwnersInCell(CellTask::kOriginsOfCaches).ownersIn(std::vector<std::string_view>(5000, "taken over")),
              Each(std::nullopt));
  EXPECT_LT(cells->opened, 50U);
}

}  // namespace
