// Quits of applications, with real processes.

#include <signal.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "tests/support/WorkspaceTest.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::LinuxWorkspace;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::installStandIn;
using testing_support::installWrapper;
using testing_support::QuittingApplications;
using testing_support::TestProcess;

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

TEST_F(QuittingApplications, areSeenToRunByAnyThreadAtOnceAndUntilTheyHaveEnded) {
  start();
  const auto isRunning = [this](const char* identifier) {
    return std::async(std::launch::async, [this, identifier] { return workspace.isRunning(identifier); }).get();
  };
  EXPECT_FALSE(isRunning("org.example.chrome"));
  TestProcess process({bin("chrome"), "wait"});  // the loop does not turn meanwhile
  const TestProcess helper({bin("opera"), "--type=renderer", "wait"});
  while (!isRunning("org.example.chrome")) std::this_thread::yield();
  EXPECT_FALSE(isRunning("org.example.opera"));
  EXPECT_FALSE(isRunning("org.example.unknown"));
  process.end();
  while (isRunning("org.example.chrome")) std::this_thread::yield();
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

TEST_F(QuittingApplications, whoseProcessesEndTogetherQuitOnce) {
  start();
  for (std::size_t round = 1; round <= 10; ++round) {
    TestProcess first = run("chrome");
    TestProcess second({bin("chrome"), "wait"});  // not examined, because one runs already
    ::kill(first.pid(), SIGKILL);
    ::kill(second.pid(), SIGKILL);
    ASSERT_TRUE(waitForQuits(round));
    settle(10ms);
    EXPECT_THAT(quits, SizeIs(round));
  }
}

TEST_F(QuittingApplications, doNotQuitWhenASecondStartOnlyHandsOver) {
  start();
  TestProcess running = run("chrome");
  run("chrome").end();
  TestProcess({bin("chrome"), "wait"}).end();  // ends at once
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

TEST_F(QuittingApplications, haveQuitWhenWhatIsLeftBecameAnotherProgram) {
  installStandIn(bin("mail"));
  start();
  // A child that is about to execute another program outlives the browser, and looks like it until then.
  TestProcess browser = run("opera", {"fork-for", bin("mail"), "wait"});
  browser.kill(SIGTERM);
  settle();
  EXPECT_THAT(quits, IsEmpty());
  browser.say();
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
    ASSERT_TRUE(waitForQuits(4)) << ::testing::PrintToString(quits) << " in round " << round;
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

TEST_F(QuittingApplications, areNotMissedWhileTheirProgramIsOpenedAgainAndAgain) {
  start();
  std::atomic<bool> isOver = false;
  std::thread other([&] {
    while (!isOver) {
      for (const char* name : {"opera", "chrome"}) std::ifstream(bin(name)).get();
    }
  });
  settle(1s);
  for (std::size_t number = 1; number <= 3; ++number) {
    TestProcess process = run("opera");
    settle(300ms);
    process.end();
    EXPECT_TRUE(waitForQuits(number));
  }
  isOver = true;
  other.join();
  EXPECT_THAT(quits, Each("Opera"));
}

// Processes of any program.

TEST_F(QuittingApplications, areNotTheOnlyProcessesWhoseEndCanBeWaitedFor) {
  installStandIn(bin("other"));
  TestProcess process = run("other");
  TestProcess forgotten = run("other");
  int ended = 0;
  std::unique_ptr<platform::ProcessWatch> watch;
  const pid_t pid = process.pid();
  watch = workspace.watchProcess(pid, [&] {
    ++ended;
    watch.reset();
  });
  workspace.watchProcess(forgotten.pid(), [&] { ended += 100; });
  ASSERT_NE(watch, nullptr);
  settle();
  EXPECT_EQ(ended, 0);
  forgotten.end();
  process.end();
  EXPECT_TRUE(testing_support::runUntil(loop, [&] { return ended > 0; }));
  const auto late = workspace.watchProcess(pid, [&] { ++ended; });
  EXPECT_NE(late, nullptr);
  EXPECT_TRUE(testing_support::runUntil(loop, [&] { return ended > 1; }));
  settle();
  EXPECT_EQ(ended, 2);
  EXPECT_THAT(quits, IsEmpty());
}

// Reporting.

TEST_F(QuittingApplications, mayBeAnnounced) {
  workspace.announce({"Any Name", "any.identifier"});
  EXPECT_THAT(quits, ElementsAre("Any Name"));
}

TEST_F(QuittingApplications, areToldToEveryObserverUntilItIsRemoved) {
  int told = 0;
  const auto token = workspace.addDidTerminateApplicationObserver([&](const auto&) { ++told; });
  workspace.announce({"A", ""});
  workspace.removeObserver(token);
  workspace.announce({"B", ""});
  EXPECT_EQ(told, 1);
  EXPECT_THAT(quits, ElementsAre("A", "B"));
}

}  // namespace
