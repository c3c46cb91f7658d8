// What the doctor makes of the facts: what is wrong, and what to do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MainApplication/doctor/CellsLook.h"
#include "MainApplication/doctor/DesktopLook.h"
#include "MainApplication/doctor/GrantsLook.h"
#include "MainApplication/doctor/HomeLook.h"
#include "MainApplication/doctor/OverwritingLook.h"
#include "MainApplication/doctor/QuitsLook.h"
#include "MainApplication/doctor/WorkerLook.h"

namespace {

using namespace tidewell;  // NOLINT: it is all about these
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Grade = Finding::Grade;

/// The first finding of a grade, in English, with the advice; "" when there is none.
std::string first(const Findings& findings, Grade grade) {
  for (const Finding& finding : findings) {
    if (finding.grade == grade) return finding.what.inEnglish() + " | " + finding.advice.inEnglish();
  }
  return "";
}

std::string wrong(const Findings& findings) {
  return first(findings, Grade::kWrong);
}

WorkerLook runningWorker() {
  return {.worker = Reach::kNow, .answers = true, .unit = BusNames::Unit{"active", "enabled"}};
}

TEST(TheLookAtTheWorker, findsNothingWrongWithOneThatRuns) {
  for (const Finding& finding : runningWorker().findings()) EXPECT_EQ(finding.grade, Grade::kGood);
}

TEST(TheLookAtTheWorker, tellsThatThereIsNoBus) {
  const Findings found = WorkerLook{.busError = "Connection refused"}.findings();
  ASSERT_EQ(found.size(), 1U) << "all else follows from it";
  EXPECT_THAT(wrong(found), HasSubstr("no session bus (Connection refused)"));
}

TEST(TheLookAtTheWorker, tellsWhyItDoesNotRun) {
  WorkerLook look = runningWorker();
  look.answers = false;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("does not answer"));
  look.worker = Reach::kWhenCalled;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("systemctl --user start tidewell-worker"));
  look.unit->state = "failed";
  EXPECT_THAT(wrong(look.findings()), HasSubstr("journalctl --user -u tidewell-worker"));
  EXPECT_THAT(wrong(WorkerLook{.hasAutostart = true}.findings()), HasSubstr("the bus can't start it"));
}

TEST(TheLookAtTheWorker, tellsThatTheNextSessionWillHaveNone) {
  WorkerLook look = runningWorker();
  look.unit->startsWithSession = "disabled";
  EXPECT_THAT(wrong(look.findings()), HasSubstr("systemctl --user enable --now tidewell-worker"));
  look.unit->startsWithSession = "masked";
  EXPECT_THAT(wrong(look.findings()), HasSubstr("systemctl --user unmask tidewell-worker"));
  look.unit.reset();
  EXPECT_THAT(first(look.findings(), Grade::kRemark), HasSubstr("Nothing is known"));
  look.hasAutostart = true;
  EXPECT_THAT(first(look.findings(), Grade::kRemark), IsEmpty());
}

TEST(TheLookAtThePanel, findsItMissingWhereThereIsADisplay) {
  EXPECT_THAT(wrong(PanelLook{Reach::kNot, true}.findings()), HasSubstr("tidewell-open-panel is not installed"));
  EXPECT_THAT(wrong(PanelLook{Reach::kWhenCalled, true}.findings()), IsEmpty());
  EXPECT_THAT(first(PanelLook{Reach::kNot, false}.findings(), Grade::kRemark), HasSubstr("in the terminal"));
}

TEST(TheLookAtNotifications, findsThatNobodyShowsThemOnlyIfTheyAreWanted) {
  EXPECT_THAT(wrong(NotificationsLook{Reach::kNot, true}.findings()), HasSubstr("nothing in this session shows them"));
  EXPECT_THAT(wrong(NotificationsLook{Reach::kNot, false}.findings()), IsEmpty());
  EXPECT_THAT(wrong(NotificationsLook{Reach::kWhenCalled, true}.findings()), IsEmpty());
}

TEST(TheLookAtTheHome, findsOneThatIsGoneOrAnother) {
  const HomeLook good{"/home/ann", true, "/home/ann", "/home/ann/.config/tidewell", true, true};
  EXPECT_THAT(wrong(good.findings()), IsEmpty());
  HomeLook look = good;
  look.isThere = false;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("/home/ann is not there"));
  look = good;
  look.sessionHome = "/home/bob";
  EXPECT_THAT(first(look.findings(), Grade::kRemark), HasSubstr("that of this session is /home/bob"));
}

TEST(TheLookAtTheHome, findsSettingsThatCanNotBeWrittenOrRead) {
  HomeLook look{"/home/ann", true, "/home/ann", "/home/ann/.config/tidewell", false, true};
  EXPECT_THAT(wrong(look.findings()), HasSubstr("can't be written in /home/ann/.config/tidewell"));
  look.canWriteSettings = true;
  look.canReadKeptSites = false;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("list of kept sites can't be read"));
}

TEST(TheLookAtGrants, findsFoldersThatAreNotAllowed) {
  EXPECT_THAT(first(GrantsLook{}.findings(), Grade::kRemark), HasSubstr("No browser is enabled"));
  GrantsLook look{.browsers = {{"Firefox", "firefox"}}};
  EXPECT_THAT(wrong(look.findings()), IsEmpty());
  look.browsers[0].notAllowed = {"/home/ann/.mozilla/firefox"};
  EXPECT_THAT(wrong(look.findings()),
              "Firefox: the folder /home/ann/.mozilla/firefox is not allowed. | tidewell allow firefox");
  look.browsers[0].neverAsked = look.browsers[0].notAllowed;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("never asked for"));
}

TEST(TheLookAtGrants, findsThoseThatLeadNowhereOrElsewhere) {
  const GrantsLook look{.browsers = {{"Firefox", "firefox"}}, .gone = {"/a", "/b"}, .replaced = {"/c"}};
  EXPECT_THAT(wrong(look.findings()), HasSubstr("tidewell grants revoke /c"));
  EXPECT_THAT(first(look.findings(), Grade::kRemark), HasSubstr("lead nowhere: 2, such as /a"));
}

TEST(TheLookAtQuits, findsABrowserWhoseProgramIsNowhereAndOfWhichNobodyTells) {
  QuitsLook look{.browsers = {{"Firefox", "firefox", true, true}}, .canWatchFiles = true};
  EXPECT_THAT(wrong(look.findings()), IsEmpty());
  look.browsers[0].hasProgram = false;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("tidewell quit-of firefox"));
  look.kernelAnnounces = true;
  EXPECT_THAT(wrong(look.findings()), IsEmpty());
  look.browsers[0].hasData = false;
  EXPECT_THAT(first(look.findings(), Grade::kRemark), HasSubstr("Firefox is enabled, but is not found here"));
}

TEST(TheLookAtQuits, findsThatNoFileCanBeWatched) {
  QuitsLook look;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("sysctl fs.inotify"));
  look.kernelAnnounces = true;
  EXPECT_THAT(wrong(look.findings()), IsEmpty()) << "the kernel tells";
}

TEST(TheLookAtOverwriting, findsFileSystemsOnWhichItIsVoid) {
  EXPECT_EQ(copyingFileSystem(0x9123683E), "Btrfs");
  EXPECT_EQ(copyingFileSystem(0xEF53), "") << "ext4";
  OverwritingLook look{.folders = {{"/home/ann/.mozilla", "Btrfs", true}}};
  EXPECT_THAT(wrong(look.findings()), IsEmpty()) << "nobody wants it";
  look.isWanted = true;
  EXPECT_THAT(wrong(look.findings()), HasSubstr("void in /home/ann/.mozilla: Btrfs"));
}

TEST(TheLookAtOverwriting, remarksOnSolidStateDisks) {
  OverwritingLook look{.isWanted = true, .folders = {{"/home/ann/.mozilla", "", false}}};
  EXPECT_THAT(first(look.findings(), Grade::kGood), HasSubstr("are overwritten"));
  look.folders[0].isOnSolidState = true;
  EXPECT_THAT(first(look.findings(), Grade::kRemark), HasSubstr("on a solid-state disk"));
  EXPECT_THAT(wrong(look.findings()), IsEmpty());
}

TEST(TheLookAtCells, findsAProgramThatIsMissing) {
  EXPECT_THAT(wrong(CellsLook{}.findings()), HasSubstr("tidewell-cell is missing"));
  EXPECT_THAT(wrong(CellsLook{"tidewell-cell", "No such file"}.findings()),
              HasSubstr("can't be started: No such file"));
  EXPECT_THAT(first(CellsLook{"tidewell-worker", "", {true, true}}.findings(), Grade::kRemark), HasSubstr("stands in"));
}

TEST(TheLookAtCells, findsAKernelThatClosesNoDoor) {
  EXPECT_THAT(wrong(CellsLook{"tidewell-cell", "", {false, false}}.findings()),
              HasSubstr("neither seccomp nor Landlock"));
  EXPECT_THAT(first(CellsLook{"tidewell-cell", "", {true, false}}.findings(), Grade::kRemark),
              HasSubstr("no Landlock"));
  EXPECT_THAT(first(CellsLook{"tidewell-cell", "", {false, true}}.findings(), Grade::kRemark), HasSubstr("no seccomp"));
  EXPECT_THAT(first(CellsLook{"tidewell-cell", "", {true, true}}.findings(), Grade::kGood), HasSubstr("no harm"));
}

}  // namespace
