// The worker's start, and the callers that it accepts.

#include "tests/support/WorkerTest.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using testing_support::WorkerTest;

class RecordingConnection : public platform::RemoteConnection {
 public:
  void setExportedInterface(platform::ExportedInterface interface) override { exported = std::move(interface); }
  void resume() override {
    ++resumed;
    resumedWithInterface = static_cast<bool>(exported.call);
  }

  platform::ExportedInterface exported;
  int resumed = 0;
  bool resumedWithInterface = false;
};

class ServiceEntry : public WorkerTest {};

TEST_F(ServiceEntry, writesTheRealHomeFolderAtTheFirstStart) {
  const auto worker = makeWorker();
  EXPECT_EQ(platform.shared().at("userFolder"), platform::Value(platform.home.path()));
  EXPECT_THAT(platform.journal.entries(),
              ElementsAre("suite 7QX2LM9PDA.com.emberlinestudio.Tidewell", "set userFolder", "synchronize"));
}

TEST_F(ServiceEntry, hasTheNameThatOtherProgramsKnowItBy) {
  EXPECT_STREQ(tidewell::kBundleIdentifier, "7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker");
}

TEST_F(ServiceEntry, leavesTheSuiteAloneAtASecondStart) {
  platform.shared().insert_or_assign("userFolder", "/Users/ann");
  const auto worker = makeWorker();
  EXPECT_EQ(platform.shared().at("userFolder"), platform::Value("/Users/ann"));
  EXPECT_THAT(platform.journal.entries(), Not(Contains("set userFolder")));
  EXPECT_THAT(platform.journal.entries(), Not(Contains("synchronize")));
}

TEST_F(ServiceEntry, neverRefreshesAValueOfWhateverKind) {
  platform.shared().insert_or_assign("userFolder", 7);
  const auto worker = makeWorker();
  EXPECT_EQ(platform.shared().at("userFolder"), platform::Value(7));
}

TEST_F(ServiceEntry, takesTheHomeFolderFromThePasswordDatabaseAndNotFromTheEnvironment) {
  const std::string before = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
  ::setenv("HOME", "/nowhere", 1);
  const auto worker = makeWorker();
  ::setenv("HOME", before.c_str(), 1);
  EXPECT_EQ(platform.shared().at("userFolder"), platform::Value(platform.home.path()));
}

TEST_F(ServiceEntry, stopsTheProcessWithoutAPasswordEntry) {
  platform.system.homeFolder = std::nullopt;
  EXPECT_DEATH(makeWorker(),
               "^Assertion failed: \\(pw\\), function RealHomeDirectory, file Worker/WorkerAppDelegate, line 32\\.\n$");
}

TEST_F(ServiceEntry, needsNoPasswordEntryWhenTheHomeFolderIsKnown) {
  platform.system.homeFolder = std::nullopt;
  platform.shared().insert_or_assign("userFolder", "/Users/ann");
  EXPECT_NE(makeWorker(), nullptr);
}

TEST_F(ServiceEntry, observesQuittingApplicationsAndTheNotificationCentreWhileItLives) {
  auto worker = makeWorker();
  EXPECT_EQ(platform.workspace.observers(), 1U);
  EXPECT_EQ(platform.notificationCenter.delegate(), worker.get());
  worker.reset();
  EXPECT_EQ(platform.workspace.observers(), 0U);
  EXPECT_EQ(platform.notificationCenter.delegate(), nullptr);
}

TEST_F(ServiceEntry, startsARunForAnEnabledBrowserThatQuitsWhileItLives) {
  enable({"org.mozilla.firefox"});
  auto worker = makeWorker();
  platform.workspace.quit("Firefox", std::nullopt);
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 1U);
}

TEST_F(ServiceEntry, acceptsEveryConnectionAndExportsTheAgentInterface) {
  const auto worker = makeWorker();
  for (int caller = 0; caller < 3; ++caller) {
    RecordingConnection connection;
    EXPECT_TRUE(worker->listener_shouldAcceptNewConnection(connection));
    EXPECT_EQ(connection.exported.interface, "com.emberlinestudio.Tidewell.Agent");
    EXPECT_EQ(connection.exported.method, "answerFrom");
    EXPECT_TRUE(connection.resumedWithInterface);
    EXPECT_EQ(connection.resumed, 1);
  }
}

TEST_F(ServiceEntry, answersThroughTheExportedInterface) {
  const auto worker = makeWorker();
  RecordingConnection connection;
  worker->listener_shouldAcceptNewConnection(connection);
  std::string answer;
  connection.exported.call("org.mozilla.firefox", [&](const std::string& text) { answer = text; });
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(answer, "bookmarked: org.mozilla.firefox ");
}

}  // namespace
