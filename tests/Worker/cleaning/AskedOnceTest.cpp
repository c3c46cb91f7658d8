// Which questions are asked on a home without a Library, and which an answer has settled.

#include "Worker/Identity.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using namespace std::chrono_literals;
using platform::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;

constexpr char kCookies[] = ".config/chromium/Default/Cookies";

class AskedOnce : public LinuxHomeTest {
 protected:
  AskedOnce() {
    enable({"org.chromium.Chromium", "com.operasoftware.Opera"});
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
    platform.home.file(kCookies);
  }
  void shareAFolder() {
    platform.home.file(".config/opera/Local State", "{}");
    platform.home.file(".config/opera/Preferences", "{}");
    platform.home.folder(".adobe");
    platform.grant(home(".config/chromium"));
    platform.grant(home(".config/opera"));
  }
  void quits(const char* name) { platform.workspace.quit(name, std::string(browser(name).bundleIdentifier)); }
  void quitsAndRunsPass(const char* name) {
    quits(name);
    platform.dispatch.advance(60s);
  }
  void ask(const char* name) {
    worker->answerFrom_reply(std::string(browser(name).bundleIdentifier), [](const std::string&) {});
  }
  void asksByHand(const char* name) {
    ask(name);
    platform.dispatch.runUntilIdle();
  }
  /// While the first panel is up.
  void meanwhile(std::function<void()> happens) {
    platform.openPanel.whileShown = [happens = std::move(happens), isFirst = true]() mutable {
      if (std::exchange(isFirst, false)) happens();
    };
  }
  std::vector<std::string> neverAsked() {
    const auto setting = platform.userDefaults.standardUserDefaults()->arrayForKey("neverAsked");
    std::vector<std::string> folders;
    for (const Value& folder : setting.value_or(Value::Array())) folders.push_back(*folder.as<std::string>());
    return folders;
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(AskedOnce, isWhatARefusalSettlesForBothRunsOfAQuit) {
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(AskedOnce, isWhatALateRefusalSettlesForTheSecondRun) {
  meanwhile([&] { platform.dispatch.advance(60s); });
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(AskedOnce, isWhatARefusalSettlesForAQuitThatCameBeforeIt) {
  meanwhile([&] {
    quits("Chromium");
    platform.dispatch.advance(1s);
  });
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(AskedOnce, isNoReasonNotToAskAfterTheNextQuit) {
  quitsAndRunsPass("Chromium");
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium", ".config/chromium"));
}

TEST_F(AskedOnce, isNoReasonNotToAskByHand) {
  quitsAndRunsPass("Chromium");
  asksByHand("Chromium");
  asksByHand("Chromium");
  EXPECT_EQ(panels().size(), 3U);
}

TEST_F(AskedOnce, isWhatSeveralBrowsersShareWhenTheQuestionsWereQueuedBehindTheAnswer) {
  shareAFolder();
  meanwhile([&] { quits("Opera"); });
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".adobe"));
  quitsAndRunsPass("Opera");
  EXPECT_THAT(panels(), ElementsAre(".adobe", ".adobe"));
}

TEST_F(AskedOnce, isNotAskedAtAllWhenAGrantHasComeBeforeTheQuestionsTurn) {
  platform.home.folder(".cache/chromium");
  meanwhile([&] { platform.grant(home(".cache/chromium")); });
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(platform.openPanel.shown(), SizeIs(1));
}

TEST_F(AskedOnce, isCleanedWhenTheGrantCameFromAnother) {
  meanwhile([&] {
    quits("Chromium");
    platform.dispatch.runUntilIdle();
    EXPECT_TRUE(platform.home.exists(kCookies));
  });
  platform.openPanel.agreesToAll = true;
  asksByHand("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
  EXPECT_FALSE(platform.home.exists(kCookies));
}

TEST_F(AskedOnce, isNotAskedWhenTheBrowserHasBeenDisabledBeforeTheQuestionsTurn) {
  platform.home.folder(".cache/chromium");
  platform.openPanel.agreesToAll = true;
  meanwhile([&] { enable({}); });
  quits("Chromium");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
  EXPECT_TRUE(platform.home.exists(kCookies));
  asksByHand("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium", ".cache/chromium"));
}

TEST_F(AskedOnce, offersNever) {
  quitsAndRunsPass("Chromium");
  EXPECT_TRUE(platform.openPanel.shown().back().offersNever);
}

TEST_F(AskedOnce, isWhatNeverSettlesForAllQuitsOfAllBrowsers) {
  shareAFolder();
  platform.openPanel.willSayNever();
  quitsAndRunsPass("Chromium");
  quitsAndRunsPass("Chromium");
  quitsAndRunsPass("Opera");
  EXPECT_THAT(panels(), ElementsAre(".adobe"));
  EXPECT_THAT(neverAsked(), ElementsAre(home(".adobe")));
}

TEST_F(AskedOnce, isWhatNeverSettlesForARequestByHandThatCameBeforeIt) {
  meanwhile([&] { asksByHand("Chromium"); });
  platform.openPanel.willSayNever();
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(AskedOnce, staysSettledByNeverAfterTheWorkerHasEnded) {
  platform.openPanel.willSayNever();
  quitsAndRunsPass("Chromium");
  worker.reset();
  worker = makeWorker();
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

TEST_F(AskedOnce, isAskedForByHandAllTheSameAndNeverEndsWithTheGrant) {
  platform.openPanel.willSayNever();
  quitsAndRunsPass("Chromium");
  asksByHand("Chromium");  // not now
  EXPECT_THAT(neverAsked(), ElementsAre(home(".config/chromium")));
  quitsAndRunsPass("Chromium");
  EXPECT_EQ(panels().size(), 2U);
  platform.openPanel.agreesToAll = true;
  asksByHand("Chromium");
  EXPECT_EQ(panels().size(), 3U);
  EXPECT_THAT(neverAsked(), IsEmpty());
  EXPECT_FALSE(platform.own().contains("neverAsked"));
}

TEST_F(AskedOnce, isAskedForAgainWhenAGrantThatEndedNeverIsTakenBack) {
  platform.openPanel.willSayNever();
  quitsAndRunsPass("Chromium");
  platform.openPanel.agreesToAll = true;
  asksByHand("Chromium");
  platform.own().clear();
  platform.openPanel.agreesToAll = false;
  quitsAndRunsPass("Chromium");
  EXPECT_EQ(panels().size(), 3U);
}

TEST_F(AskedOnce, isWhatNeverSettlesWhateverTheLinksByWhichAFolderIsReached) {
  platform.home.folder("Disk");
  std::filesystem::rename(home(".config/chromium"), home("Disk/chromium"));
  platform.home.link(".config/chromium", home("Disk/chromium"));
  platform.openPanel.willSayNever();
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(neverAsked(), ElementsAre(home("Disk/chromium")));
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre("Disk/chromium"));
}

TEST_F(AskedOnce, takesASettingOfAnotherFormForNone) {
  platform.own().insert_or_assign("neverAsked", Value(Value::Array{Value(true), Value("relative"), Value("/")}));
  quitsAndRunsPass("Chromium");
  EXPECT_THAT(panels(), ElementsAre(".config/chromium"));
}

}  // namespace
