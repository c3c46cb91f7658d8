// Quits of applications, with real processes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "Platform/Linux/LinuxWorkspace.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/Processes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::LinuxWorkspace;
using platform::linux_::RunLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::installStandIn;
using testing_support::installWrapper;
using testing_support::TestProcess;

class QuittingApplications : public ::testing::Test {
 protected:
  QuittingApplications() {
    for (const char* name : {"chromium", "firefox-esr", "chrome", "firefox", "opera"}) installStandIn(bin(name));
    workspace.addDidTerminateApplicationObserver([this](const platform::ApplicationNotification& quit) {
      EXPECT_TRUE(quit.bundleIdentifier.has_value());
      quits.push_back(quit.applicationName.value_or("(null)"));
    });
  }

  std::string bin(const std::string& name) const { return folder.path("bin/" + name); }
  static std::vector<platform::linux_::WatchedApplication> applications(const std::string& folder) {
    return {{"Firefox", "org.example.firefox", {"firefox", "firefox-esr"}, {}},
            {"Google Chrome", "org.example.chrome", {"chrome"}, {}},
            {"Chromium", "org.example.chromium", {"chromium"}, {folder + "/snap/*/chrome"}},
            {"Opera", "org.example.opera", {"opera"}, {folder + "/elsewhere/opera"}}};
  }
  void start() {
    LinuxWorkspace::Options options;
    options.places.path = {folder.path("bin")};
    options.places.applicationsFolders = {folder.path("applications")};
    options.isWanted = [](const auto&) { return false; };
    start(std::move(options));
  }
  void start(LinuxWorkspace::Options options) {
    workspace.start(std::move(options));
    settle();
  }

  /// Lets everything that was set off come to its end: as long as the latest look after a start takes.
  void settle(std::chrono::milliseconds time = 130ms) {
    bool done = false;
    loop.after(time, [&] { done = true; });
    testing_support::runUntil(loop, [&] { return done; });
  }
  bool waitForQuits(std::size_t count) {
    return testing_support::runUntil(loop, [&] { return quits.size() >= count; });
  }
  TestProcess run(const std::string& name, std::vector<std::string> words = {"wait"}) {
    words.insert(words.begin(), bin(name));
    TestProcess process(words);
    settle();
    return process;
  }

  testing_support::ScratchFolder folder;
  RunLoop loop;
  LinuxWorkspace workspace{loop, applications(folder.path())};
  std::vector<std::string> quits;
};

// One process.

TEST_F(QuittingApplications, areToldByTheNameOfTheApplication) {
  start();
  const std::vector<std::pair<std::string, std::string>> programs = {{"chromium", "Chromium"},
                                                                     {"firefox-esr", "Firefox"},
                                                                     {"chrome", "Google Chrome"},
                                                                     {"firefox", "Firefox"},
                                                                     {"opera", "Opera"}};
  for (const auto& [program, application] : programs) {
    quits.clear();
    run(program).end();
    ASSERT_TRUE(waitForQuits(1)) << program;
    EXPECT_THAT(quits, ElementsAre(application));
  }
}

TEST_F(QuittingApplications, mayHaveBeenKilled) {
  start();
  for (const int signal : {SIGTERM, SIGKILL, SIGSEGV}) {
    quits.clear();
    run("opera").kill(signal);
    ASSERT_TRUE(waitForQuits(1)) << signal;
  }
}

TEST_F(QuittingApplications, mayHaveBeenStartedBeforeUs) {
  TestProcess early({bin("firefox"), "wait"});
  start();
  early.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(quits, ElementsAre("Firefox"));
}

TEST_F(QuittingApplications, areNoneWhileTheyRun) {
  start();
  const TestProcess process = run("firefox");
  settle(300ms);
  EXPECT_THAT(quits, IsEmpty());
}

TEST_F(QuittingApplications, areNotProcessesOfOtherNames) {
  installStandIn(bin("firefox-helper"));
  installStandIn(bin("myopera"));
  start();
  run("firefox-helper").end();
  run("myopera").end();
  settle();
  EXPECT_THAT(quits, IsEmpty());
}

// Several processes.

TEST_F(QuittingApplications, haveQuitWhenTheLastOfTheirMainProcessesHas) {
  start();
  TestProcess first = run("firefox");
  TestProcess second = run("firefox");
  TestProcess third = run("firefox-esr");
  first.end();
  settle();
  third.end();
  settle();
  EXPECT_THAT(quits, IsEmpty());
  second.end();
  ASSERT_TRUE(waitForQuits(1));
  settle();
  EXPECT_THAT(quits, SizeIs(1));
}

TEST_F(QuittingApplications, doNotQuitWhenASecondStartOnlyHandsOver) {
  start();
  TestProcess running = run("chrome");
  run("chrome").end();
  TestProcess({bin("chrome"), "wait"}).end();  // over at once
  settle();
  EXPECT_THAT(quits, IsEmpty());
  running.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, doNotQuitWithTheirHelpers) {
  start();
  TestProcess main = run("chrome");
  run("chrome", {"wait", "--type=renderer", "--lang=en"}).end();
  run("firefox", {"wait", "-contentproc", "7"}).end();
  settle();
  EXPECT_THAT(quits, IsEmpty());
  main.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, areNotHelpersAlone) {
  start();
  TestProcess helper = run("chrome", {"wait", "--type=zygote"});
  helper.end();
  settle();
  EXPECT_THAT(quits, IsEmpty());
}

TEST_F(QuittingApplications, areToldWhenTheirHelpersHaveGoneToo) {
  start();
  TestProcess main = run("chrome");
  TestProcess helper = run("chrome", {"wait", "--type=renderer"});
  main.end();
  bool helperEnded = false;
  bool toldBefore = false;
  loop.after(20ms, [&] {
    toldBefore = !quits.empty();
    helper.end();
    helperEnded = true;
  });
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_TRUE(helperEnded);
  EXPECT_FALSE(toldBefore);
}

TEST_F(QuittingApplications, areToldThoughAHelperStays) {
  start();
  TestProcess main = run("chrome");
  const TestProcess helper = run("chrome", {"wait", "--type=renderer"});
  main.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, thatStartAgainWhileTheirHelpersGoHaveNotQuit) {
  start();
  TestProcess main = run("chrome");
  TestProcess helper = run("chrome", {"wait", "--type=renderer"});
  main.end();
  settle(10ms);
  TestProcess again({bin("chrome"), "wait"});
  settle();
  helper.end();
  settle(600ms);
  EXPECT_THAT(quits, IsEmpty());
  again.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, areNotAChildThatHasNotStartedItsProgramYet) {
  start();
  TestProcess main = run("opera", {"fork"});  // the child looks just like its parent
  EXPECT_THAT(quits, IsEmpty());
  main.end();  // both
  ASSERT_TRUE(waitForQuits(1));
  settle();
  EXPECT_THAT(quits, SizeIs(1));
}

// Ways to start.

TEST_F(QuittingApplications, mayBeStartedByAnotherProgramThatStays) {
  installStandIn(bin("launcher"));
  start();
  TestProcess launcher = run("launcher", {"start", bin("opera"), "wait"});
  launcher.end();  // the browser waits on the same input
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBeAProgramThatAnotherBecame) {
  installStandIn(bin("launcher"));
  start();
  run("launcher", {"become", bin("opera"), "wait"}).end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBecomeThemselvesAnew) {
  start();
  TestProcess process = run("opera", {"become", bin("opera"), "wait"});
  EXPECT_THAT(quits, IsEmpty());
  process.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(quits, SizeIs(1));
}

TEST_F(QuittingApplications, mayBeStartedThroughAScript) {
  installWrapper(bin("opera.sh"), folder.path("elsewhere/opera"));
  installStandIn(folder.path("elsewhere/opera"));
  start();
  TestProcess({bin("opera.sh"), "wait"}).end();
  installWrapper(bin("opera"), folder.path("elsewhere/opera"));
  settle();
  run("opera").end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayLoseTheirFirstThreadAndGoOn) {
  start();
  TestProcess process = run("opera", {"lose-first-thread"});
  EXPECT_THAT(quits, IsEmpty());
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

// Where programs lie.

TEST_F(QuittingApplications, mayBeInstalledLater) {
  std::filesystem::remove(bin("opera"));
  start();
  installStandIn(bin("opera"));
  settle();
  run("opera").end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBeInstalledLaterInAFolderThatIsNotThereYet) {
  std::filesystem::remove(bin("opera"));
  start();
  installStandIn(folder.path("elsewhere/opera"));
  settle();
  TestProcess process({folder.path("elsewhere/opera"), "wait"});
  settle();
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, mayBeReplacedWhileTheyRun) {
  start();
  TestProcess old = run("opera");
  installStandIn(bin("opera"));
  settle();
  old.end();
  ASSERT_TRUE(waitForQuits(1));
  run("opera").end();
  ASSERT_TRUE(waitForQuits(2));
}

TEST_F(QuittingApplications, areKnownByTheirPlaceBeforeTheirName) {
  installStandIn(folder.path("snap/77/chrome"));
  start();
  TestProcess process({folder.path("snap/77/chrome"), "wait"});
  settle();
  process.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(quits, ElementsAre("Chromium"));
}

TEST_F(QuittingApplications, areFoundByTheirDesktopEntry) {
  std::filesystem::remove(bin("opera"));
  installStandIn(folder.path("some where/opera"));
  folder.file(
      "applications/opera.desktop",
      "[Desktop Action new]\nExec=/nowhere/opera\n[Desktop Entry]\nExec=env A=b " + folder.path("x/opera") + " %U\n");
  installStandIn(folder.path("x/opera"));
  start();
  TestProcess process({folder.path("x/opera"), "wait"});
  settle();
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

TEST_F(QuittingApplications, areNoticedThoughTheirProgramLiesNowhereWhenTheyAreWanted) {
  std::filesystem::remove(bin("opera"));
  if (!platform::linux_::ProcessConnector::open(loop, [](pid_t) {})) {
    // Where the kernel announces nothing to us, one that runs already is still found.
    SUCCEED();
    return;
  }
  installStandIn(folder.path("nowhere/opera"));
  LinuxWorkspace::Options options;
  options.places.path = {folder.path("bin")};
  options.isWanted = [](const auto& application) { return application.applicationName == "Opera"; };
  start(std::move(options));
  for (std::size_t round = 1; round <= 5; ++round) {
    TestProcess process({folder.path("nowhere/opera"), "wait"});
    settle(10ms);
    process.end();
    ASSERT_TRUE(waitForQuits(round));
  }
}

TEST_F(QuittingApplications, areWantedAnewWhenTheSettingsChange) {
  std::filesystem::remove(bin("opera"));
  if (!platform::linux_::ProcessConnector::open(loop, [](pid_t) {})) return;
  installStandIn(folder.path("nowhere/opera"));
  bool wanted = false;
  LinuxWorkspace::Options options;
  options.places.path = {folder.path("bin")};
  options.isWanted = [&](const auto& application) { return wanted && application.applicationName == "Opera"; };
  options.wantedFile = folder.path("settings/file");
  start(std::move(options));
  wanted = true;
  folder.file("settings/file", "changed");
  settle();
  TestProcess process({folder.path("nowhere/opera"), "wait"});
  settle(20ms);
  process.end();
  ASSERT_TRUE(waitForQuits(1));
}

// Many.

TEST_F(QuittingApplications, areNotMissedAmongTwoHundredProcessesInABurst) {
  start();
  for (int round = 0; round < 2; ++round) {
    quits.clear();
    std::vector<TestProcess> processes;
    const std::vector<std::string> programs = {"chromium", "firefox-esr", "chrome", "opera"};
    for (std::size_t number = 0; number < 200; ++number) {
      processes.emplace_back(std::vector<std::string>{bin(programs[number % programs.size()]), "wait"});
    }
    settle();
    EXPECT_THAT(quits, IsEmpty());
    processes.clear();
    ASSERT_TRUE(waitForQuits(4));
    settle();
    EXPECT_THAT(quits, ::testing::UnorderedElementsAre("Chromium", "Firefox", "Google Chrome", "Opera"));
  }
}

TEST_F(QuittingApplications, areEachToldOfTwoHundredOneAfterTheOther) {
  start();
  for (std::size_t number = 1; number <= 200; ++number) {
    TestProcess process({bin("opera"), "wait"});
    settle(15ms);
    process.end();
    ASSERT_TRUE(waitForQuits(number)) << "the start of number " << number << " went unnoticed";
  }
  settle();
  EXPECT_THAT(quits, SizeIs(200));
}

// Telling.

TEST_F(QuittingApplications, mayBeAnnounced) {
  workspace.announce("Any Name", "any.identifier");
  EXPECT_THAT(quits, ElementsAre("Any Name"));
}

TEST_F(QuittingApplications, areToldToEveryObserverUntilItIsRemoved) {
  int told = 0;
  const auto token = workspace.addDidTerminateApplicationObserver([&](const auto&) { ++told; });
  workspace.announce("A", "");
  workspace.removeObserver(token);
  workspace.announce("B", "");
  EXPECT_EQ(told, 1);
  EXPECT_THAT(quits, ElementsAre("A", "B"));
}

// The process table.

TEST(ProcessTable, takesArgumentsApartByNulBytesOrElseByBlanks) {
  using platform::linux_::argumentsFromCommandLine;
  EXPECT_THAT(argumentsFromCommandLine(std::string("/a b\0--type=x y\0", 16)), ElementsAre("/a b", "--type=x y"));
  EXPECT_THAT(argumentsFromCommandLine("/usr/bin/x --type=renderer --lang=en"),
              ElementsAre("/usr/bin/x", "--type=renderer", "--lang=en"));
  EXPECT_THAT(argumentsFromCommandLine(std::string("/x -contentproc 7\0\0\0", 20)),
              ElementsAre("/x", "-contentproc", "7"));
  EXPECT_THAT(argumentsFromCommandLine(""), IsEmpty());
}

TEST(ProcessTable, knowsOurOwnProcess) {
  using namespace platform::linux_;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_THAT(ownProcessesRunning([&](const std::string& executable) { return executable == self; }),
              ::testing::Contains(::getpid()));
  const auto info = processInfo(::getpid());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->parent, ::getppid());
  EXPECT_EQ(info->executable, std::filesystem::read_symlink("/proc/self/exe"));
  EXPECT_FALSE(processInfo(1 << 30));
}

}  // namespace
