// Panels that another program shows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <deque>
#include <map>

#include "Platform/Linux/bus/BusOpenPanel.h"
#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::ModalResponse;
using platform::linux_::BusOpenPanel;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::BusProgram;

constexpr char kName[] = "com.emberlinestudio.Tidewell.OpenPanel";

/// Enables the target and the folders above it, but not the root.
class Rule : public platform::OpenPanelDelegate {
 public:
  bool panel_shouldEnableURL(const platform::OpenPanelSettings& panel, const std::optional<FileURL>& url) override {
    return url && url->path() != "/" && (panel.target.path() + "/").starts_with(url->path() + "/");
  }
};

class PanelOverTheBus : public ::testing::Test {
 protected:
  PanelOverTheBus() {
    settings.title = "Title";
    settings.message = "Message";
    settings.prompt = "Prompt";
    settings.target = FileURL("/tmp/a b", true);
    settings.directoryURL = FileURL("/tmp", true);
    settings.delegate = &rule;
  }

  /// A panel program that returns these answers, one after the other.
  std::unique_ptr<BusProgram> program(std::deque<std::pair<unsigned, std::string>> given) {
    answers = std::move(given);
    return std::make_unique<BusProgram>(loop, kName, [this](sd_bus_message* call) {
      EXPECT_STREQ(sd_bus_message_get_path(call), "/com/emberlinestudio/Tidewell/OpenPanel");
      EXPECT_STREQ(sd_bus_message_get_interface(call), kName);
      EXPECT_STREQ(sd_bus_message_get_member(call), "RunModal");
      read(call);
      ++asked;
      if (answers.empty()) return;
      sd_bus_reply_method_return(call, "us", answers.front().first, answers.front().second.c_str());
      answers.pop_front();
    });
  }

  void read(sd_bus_message* call) {
    texts.clear();
    flags.clear();
    enabled.clear();
    ASSERT_GT(sd_bus_message_enter_container(call, 'a', "{sv}"), 0);
    while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
      const char* key = nullptr;
      const char* contents = nullptr;
      sd_bus_message_read(call, "s", &key);
      sd_bus_message_peek_type(call, nullptr, &contents);
      sd_bus_message_enter_container(call, 'v', contents);
      const char* text = nullptr;
      int flag = 0;
      if (std::string(contents) == "s") {
        sd_bus_message_read(call, "s", &text);
        texts[key] = text;
      } else if (std::string(contents) == "b") {
        sd_bus_message_read(call, "b", &flag);
        flags[key] = flag != 0;
      } else {
        sd_bus_message_enter_container(call, 'a', "s");
        while (sd_bus_message_read(call, "s", &text) > 0) enabled.emplace_back(text);
        sd_bus_message_exit_container(call);
      }
      sd_bus_message_exit_container(call);
      sd_bus_message_exit_container(call);
    }
  }

  testing_support::PrivateBus privateBus;
  RunLoop loop;
  std::unique_ptr<SessionBus> bus = std::move(*SessionBus::open(loop));
  platform::linux_::SecurityScopes scopes;
  platform::linux_::LinuxFileManager files{scopes, "/nowhere"};
  std::vector<std::string> granted;
  BusOpenPanel panel{*bus, files, [this](const FileURL& url) { granted.push_back(url.path()); }};
  Rule rule;
  platform::OpenPanelSettings settings;

  std::deque<std::pair<unsigned, std::string>> answers;
  int asked = 0;
  std::map<std::string, std::string> texts;
  std::map<std::string, bool> flags;
  std::vector<std::string> enabled;
};

TEST_F(PanelOverTheBus, sendsAllThatAPanelNeeds) {
  settings.canChooseFiles = true;
  settings.canChooseDirectories = true;
  const auto shown = program({{0, ""}});
  panel.runModal(settings);
  EXPECT_THAT(texts, ElementsAre(std::pair("directory", "file:///tmp/"), std::pair("message", "Message"),
                                 std::pair("prompt", "Prompt"), std::pair("title", "Title")));
  EXPECT_THAT(flags, ElementsAre(std::pair("activateIgnoringOtherApps", false),
                                 std::pair("allowsMultipleSelection", false), std::pair("canChooseDirectories", true),
                                 std::pair("canChooseFiles", true), std::pair("canCreateDirectories", false),
                                 std::pair("extensionHidden", false), std::pair("showsHiddenFiles", false)));
  EXPECT_THAT(enabled, ElementsAre("file:///tmp/a%20b/", "file:///tmp/"));
}

TEST_F(PanelOverTheBus, isToldToComeToTheFrontOnce) {
  const auto shown = program({{0, ""}, {0, ""}});
  panel.activateIgnoringOtherApps(true);
  panel.runModal(settings);
  EXPECT_TRUE(flags["activateIgnoringOtherApps"]);
  panel.runModal(settings);
  EXPECT_FALSE(flags["activateIgnoringOtherApps"]);
}

TEST_F(PanelOverTheBus, isStillToldToComeToTheFrontWhenItIsShownAgain) {
  const auto shown = program({{1, "file:///etc/"}, {0, ""}});
  panel.activateIgnoringOtherApps(true);
  panel.runModal(settings);
  EXPECT_EQ(asked, 2);
  EXPECT_TRUE(flags["activateIgnoringOtherApps"]);
}

TEST_F(PanelOverTheBus, grantsWhatWasChosen) {
  const auto shown = program({{1, "file:///tmp"}});
  const auto answer = panel.runModal(settings);
  EXPECT_EQ(answer.response, ModalResponse::ok);
  EXPECT_EQ(answer.url, FileURL("/tmp", true));  // /tmp is a folder, even though the answer has no slash at its end
  EXPECT_THAT(granted, ElementsAre("/tmp"));
}

TEST_F(PanelOverTheBus, isCancelledByAnyOtherResponse) {
  for (const unsigned response : {0U, 2U, 4294967295U}) {
    const auto shown = program({{response, "file:///tmp/"}});
    EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
  }
  EXPECT_THAT(granted, IsEmpty());
}

TEST_F(PanelOverTheBus, mayAnswerNeverWhereThatIsOffered) {
  settings.offersNever = true;
  const auto shown = program({{2, ""}, {2, "file:///tmp/"}, {3, ""}, {0, ""}});
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::never);
  EXPECT_TRUE(flags["never"]);
  const auto answer = panel.runModal(settings);
  EXPECT_EQ(answer.response, ModalResponse::never);
  EXPECT_EQ(answer.url, std::nullopt);
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
  settings.offersNever = false;
  panel.runModal(settings);
  EXPECT_FALSE(flags.contains("never"));
  EXPECT_THAT(granted, IsEmpty());
}

TEST_F(PanelOverTheBus, isCancelledWithoutAPanelProgram) {
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
}

TEST_F(PanelOverTheBus, isCancelledWhenTheProgramDiesWhileItIsAsked) {
  std::unique_ptr<BusProgram> shown;
  shown = std::make_unique<BusProgram>(loop, kName, [&](sd_bus_message*) {
    ++asked;
    loop.async([&shown] { shown.reset(); });
  });
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
  EXPECT_EQ(asked, 1);
}

TEST_F(PanelOverTheBus, isCancelledByAnAnswerThatIsNoFileUrl) {
  for (const char* text : {"", "/tmp", "http://example.com/", "file://elsewhere/tmp", "file:///%zz", "nonsense"}) {
    const auto shown = program({{1, text}});
    EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel) << text;
  }
  EXPECT_THAT(granted, IsEmpty());
}

TEST_F(PanelOverTheBus, isCancelledByAnAnswerThatIsLongerThanAnyPath) {
  const std::string longest = "file://" + std::string(3 * PATH_MAX, '/');
  for (const std::string& url : {longest + "/", longest + std::string(40'000'000, 'a')}) {
    const auto shown = program({{1, url}, {1, "file:///tmp/"}});
    EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
  }
  EXPECT_THAT(granted, IsEmpty());
}

TEST_F(PanelOverTheBus, logsOnceThatAnswersWereLongerThanAnyPath) {
  ::testing::internal::CaptureStderr();
  for (int count = 0; count < 3; ++count) {
    const auto shown = program({{1, "file:///" + std::string(4 * PATH_MAX, 'a')}});
    panel.runModal(settings);
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "A panel's answer that is longer than any path was refused\n");
}

TEST_F(PanelOverTheBus, neitherOffersNorGrantsWhatIsTooWide) {
  settings.target = FileURL("/tmp/a/b", true);
  settings.isTooWide = [](const FileURL& url) { return url.path() == "/tmp"; };
  ::testing::internal::CaptureStderr();
  const auto shown = program({{1, "file:///tmp/"}, {1, "file:///tmp/a/"}});
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "A grant of /tmp, which is too wide, was refused\n");
  EXPECT_THAT(enabled, ElementsAre("file:///tmp/a/b/", "file:///tmp/a/"));
  EXPECT_EQ(asked, 1);
  EXPECT_THAT(granted, IsEmpty());
}

TEST_F(PanelOverTheBus, isShownAgainAfterAnAnswerThatTheRuleDoesNotEnable) {
  const auto shown = program({{1, "file:///etc/"}, {1, "file:///"}, {1, "file:///tmp/a%20b/c"}, {1, "file:///tmp/"}});
  EXPECT_EQ(panel.runModal(settings).url, FileURL("/tmp", true));
  EXPECT_EQ(asked, 4);
  EXPECT_THAT(granted, ElementsAre("/tmp"));
}

TEST_F(PanelOverTheBus, isCancelledWhenTheAnswersNeverGetBetter) {
  const auto shown = program(std::deque<std::pair<unsigned, std::string>>(1000, {1, "file:///etc/"}));
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);
  EXPECT_LT(asked, 100);
  EXPECT_THAT(granted, IsEmpty());
}

TEST_F(PanelOverTheBus, letsTheLoopGoOnWhileItIsUp) {
  const auto shown = program({});
  bool served = false;
  loop.after(std::chrono::milliseconds(1), [&] { served = true; });
  loop.after(std::chrono::milliseconds(5), [&] { loop.stop(0); });
  EXPECT_EQ(panel.runModal(settings).response, ModalResponse::cancel);  // the end of the loop ends the panel
  EXPECT_TRUE(served);
}

}  // namespace
