// The arguments that the processes of an application that has quit were started with.

#include "tests/support/WorkspaceTest.h"

namespace {

using platform::Arguments;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;
using testing_support::QuittingApplications;
using testing_support::TestProcess;

class QuitArguments : public QuittingApplications {
 protected:
  QuitArguments() {
    workspace.addDidTerminateApplicationObserver(
        [this](const platform::ApplicationNotification& quit) { processes.push_back(quit.processes); });
  }

  Arguments started(const std::string& name, std::vector<std::string> words) const {
    words.insert(words.begin(), bin(name));
    return words;
  }

  std::vector<std::vector<Arguments>> processes;  // of each quit
};

TEST_F(QuitArguments, comeWithTheQuit) {
  start();
  const std::vector<std::string> words = {"wait", "--user-data-dir=/home/ann/my data", "", "https://a.test/?a=1&b= "};
  run("chrome", words).end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(processes, ElementsAre(ElementsAre(started("chrome", words))));
}

TEST_F(QuitArguments, comeOfAProcessThatWasKilled) {
  start();
  run("firefox", {"wait", "-profile", "/srv/ann"}).kill(SIGKILL);
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(processes, ElementsAre(ElementsAre(started("firefox", {"wait", "-profile", "/srv/ann"}))));
}

TEST_F(QuitArguments, comeOfAProcessThatRanBeforeUs) {
  TestProcess early({bin("firefox"), "wait", "--profile", "/srv/ann"});
  start();
  early.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(processes, ElementsAre(ElementsAre(started("firefox", {"wait", "--profile", "/srv/ann"}))));
}

TEST_F(QuitArguments, comeOfAllMainProcessesEachOnceAndOfNoHelper) {
  start();
  TestProcess first = run("chrome", {"wait", "--user-data-dir=/a"});
  TestProcess same = run("chrome", {"wait", "--user-data-dir=/a"});
  TestProcess second = run("chrome", {"wait", "--user-data-dir=/b"});
  TestProcess helper = run("chrome", {"wait", "--type=renderer", "--user-data-dir=/c"});
  first.end();
  same.end();
  helper.end();
  settle();
  second.end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(processes, ElementsAre(UnorderedElementsAre(started("chrome", {"wait", "--user-data-dir=/a"}),
                                                          started("chrome", {"wait", "--user-data-dir=/b"}))));
}

TEST_F(QuitArguments, areThoseOfThisQuitAlone) {
  start();
  run("chrome", {"wait", "--user-data-dir=/a"}).end();
  ASSERT_TRUE(waitForQuits(1));
  run("chrome", {"wait"}).end();
  ASSERT_TRUE(waitForQuits(2));
  ASSERT_THAT(processes, SizeIs(2));
  EXPECT_THAT(processes[1], ElementsAre(started("chrome", {"wait"})));
}

TEST_F(QuitArguments, areNotAnotherApplications) {
  start();
  TestProcess other = run("opera", {"wait", "--user-data-dir=/other"});
  run("chrome", {"wait"}).end();
  ASSERT_TRUE(waitForQuits(1));
  EXPECT_THAT(processes, ElementsAre(ElementsAre(started("chrome", {"wait"}))));
}

TEST_F(QuitArguments, areNoneOfAQuitThatIsAnnounced) {
  start();
  workspace.announce({"Chromium", "org.example.chromium"});
  EXPECT_THAT(processes, ElementsAre(IsEmpty()));
}

}  // namespace
