// What other programs can ask about cleanings, and have done.

#include "Worker/Cleanings.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using namespace std::chrono_literals;
using platform::RemoteAnswer;
using platform::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;

constexpr char kCookies[] = ".config/chromium/Default/Cookies";
constexpr char kChromium[] = "org.chromium.Chromium";

/// Keeps what is sent.
class Signals : public platform::RemoteService {
 public:
  void emit(const std::string& signal, std::vector<Value> values) override {
    names.push_back(signal);
    sent.push_back(std::move(values));
  }
  std::vector<std::string> names;
  std::vector<std::vector<Value>> sent;
};

class Cleanings : public LinuxHomeTest {
 protected:
  Cleanings() {
    enable({kChromium});
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
    platform.home.file(kCookies, "12345");
    platform.grant(home(".config/chromium"));
    platform.home.folder(".cache/chromium");
    platform.grant(home(".cache/chromium"));
    tidewell::announceRuns(*worker, signals);
  }

  void call(const std::string& method, const std::vector<Value>& arguments) {
    for (const platform::RemoteMethod& offered : interface.methods) {
      if (offered.name == method) {
        offered.call(arguments, [this](const RemoteAnswer& answer) { answers.push_back(answer); });
      }
    }
    platform.dispatch.runUntilIdle();
  }
  void clean(const std::string& browser, bool evenIfRunning = false) { call("Clean", {browser, evenIfRunning}); }
  Value entry(const std::string& key) const { return answers.at(0).value.at(key); }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
  platform::RemoteInterface interface = tidewell::cleaningsInterface(*worker);
  Signals signals;
  std::vector<RemoteAnswer> answers;
};

TEST_F(Cleanings, onDemandAreAnsweredWithTheirReportWhenTheSecondRunIsOver) {
  clean(kChromium);
  EXPECT_FALSE(platform.home.exists(kCookies));
  platform.home.file(kCookies);
  platform.dispatch.advance(7s);
  EXPECT_THAT(answers, IsEmpty());
  platform.dispatch.advance(1s);
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_EQ(answers[0].errorName, "");
  EXPECT_EQ(entry("browser"), kChromium);
  EXPECT_EQ(entry("cause"), "announced");
  EXPECT_EQ(entry("done"), true);
  EXPECT_EQ(entry("items"), 2);
  const Value runs = entry("runs");
  EXPECT_THAT(*runs.as<Value::Array>(), SizeIs(2));
}

TEST_F(Cleanings, askedForTwiceAreAnsweredTwice) {
  clean(kChromium);
  clean(kChromium);
  platform.dispatch.advance(8s);
  EXPECT_THAT(answers, SizeIs(2));
  platform.dispatch.advance(60s);
  EXPECT_THAT(answers, SizeIs(2));
}

TEST_F(Cleanings, askedForAgainBeforeTheSecondRunAreAnsweredByIt) {
  clean(kChromium);
  platform.dispatch.advance(5s);
  platform.home.file(kCookies);
  clean(kChromium);
  EXPECT_FALSE(platform.home.exists(kCookies));
  platform.dispatch.advance(3s);
  EXPECT_THAT(answers, SizeIs(2));
}

TEST_F(Cleanings, sayWhatIsLeft) {
  platform.own().clear();  // and with them the grants
  clean(kChromium);
  platform.dispatch.advance(8s);
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_EQ(entry("done"), false);
}

TEST_F(Cleanings, areRefusedForBrowsersThatAreUnknownOrNotEnabledOrRun) {
  clean("com.example.Nothing");
  clean("org.mozilla.firefox");
  platform.workspace.running.insert(kChromium);
  clean(kChromium);
  ASSERT_THAT(answers, SizeIs(3));
  EXPECT_EQ(answers[0].errorName, tidewell::kUnknownBrowserError);
  EXPECT_EQ(answers[1].errorName, tidewell::kNotEnabledError);
  EXPECT_EQ(answers[2].errorName, tidewell::kIsRunningError);
  EXPECT_TRUE(platform.home.exists(kCookies));
  clean(kChromium, true);
  EXPECT_FALSE(platform.home.exists(kCookies));
}

TEST_F(Cleanings, onAHomeWithALibraryAreAnsweredAndAnnouncedToo) {
  const std::string data = "Library/Application Support/Chromium/";
  platform.home.file(data + "Local State", R"({"profile": {"info_cache": {"Default": {"name": "Ann"}}}})");
  platform.home.file(data + "Default/Cookies");
  platform.grant(platform.home.path("Library/Application Support"));
  platform.grant(platform.home.path("Library/Caches"));
  platform.openPanel.agreesToAll = true;
  clean(kChromium);
  EXPECT_FALSE(platform.home.exists(data + "Default/Cookies"));
  EXPECT_THAT(answers, IsEmpty());
  platform.dispatch.advance(60s);
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_EQ(answers[0].errorName, "");
  EXPECT_EQ(entry("cause"), "announced");
  const Value runs = entry("runs");
  EXPECT_THAT(*runs.as<Value::Array>(), SizeIs(2));
  EXPECT_THAT(signals.names, ElementsAre("RunEnded", "Cleaned"));
}

TEST_F(Cleanings, areAnnouncedAfterEachRun) {
  clean(kChromium);
  EXPECT_THAT(signals.names, ElementsAre("RunEnded"));
  platform.dispatch.advance(8s);
  ASSERT_THAT(signals.names, ElementsAre("RunEnded", "Cleaned"));
  for (const auto& values : signals.sent) {
    ASSERT_THAT(values, SizeIs(2));
    EXPECT_EQ(values[0], kChromium);
    EXPECT_EQ(values[1].as<Value::Dictionary>()->at("items"), 1);
  }
}

TEST_F(Cleanings, areToldOfLater) {
  call("LastReport", {""});
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_THAT(answers[0].value, IsEmpty());
  clean(kChromium);
  platform.dispatch.advance(8s);
  answers.clear();
  call("LastReport", {""});
  call("LastReport", {kChromium});
  call("LastReport", {"org.mozilla.firefox"});
  ASSERT_THAT(answers, SizeIs(3));
  EXPECT_EQ(entry("items"), 1);
  EXPECT_EQ(answers[1].value, answers[0].value);
  EXPECT_THAT(answers[2].value, IsEmpty());
}

TEST_F(Cleanings, areNotToldOfLaterWhereNoHistoryIsKept) {
  platform.shared().insert_or_assign("noHistory", true);
  clean(kChromium);
  platform.dispatch.advance(8s);
  answers.clear();
  call("LastReport", {""});
  EXPECT_THAT(answers.at(0).value, IsEmpty());
}

}  // namespace
