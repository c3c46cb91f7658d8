// Announced quits, the program's texts, the log.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "Platform/Linux/bus/AnnouncedQuits.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Platform/Linux/host/LineLog.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::linux_::GettextBundle;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using ::testing::ElementsAre;

constexpr char kInterface[] = "com.emberlinestudio.Tidewell.Workspace";

TEST(AnnouncedQuits, areTakenFromAnySenderAndPath) {
  testing_support::PrivateBus privateBus;
  RunLoop loop;
  const auto bus = std::move(*SessionBus::open(loop));
  std::vector<std::pair<std::string, std::string>> quits;
  std::vector<std::string> allTheSame;
  platform::linux_::AnnouncedQuits announced(*bus, [&](const platform::ApplicationNotification& quit) {
    quits.emplace_back(quit.applicationName.value(), quit.bundleIdentifier.value());
    if (quit.evenIfRunning) allTheSame.push_back(quits.back().first);
  });
  testing_support::BusProgram launcher(loop, "");
  testing_support::BusProgram container(loop, "");
  sd_bus_emit_signal(launcher.bus(), "/any", kInterface, "DidTerminateApplication", "ss", "Firefox", "org.f");
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return quits.size() == 1; }));
  sd_bus_emit_signal(container.bus(), "/", kInterface, "DidTerminateApplication", "s", "too few");
  sd_bus_emit_signal(container.bus(), "/", kInterface, "DidTerminateApplication", "sss", "too", "many", "");
  sd_bus_emit_signal(container.bus(), "/", kInterface, "SomethingElse", "ss", "a", "b");
  sd_bus_emit_signal(container.bus(), "/other", kInterface, "DidTerminateApplication", "ss", "", "");
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return quits.size() >= 2; }));
  EXPECT_THAT(quits, ElementsAre(std::pair("Firefox", "org.f"), std::pair("", "")));
  sd_bus_emit_signal(container.bus(), "/", kInterface, "CleanAllTheSame", "ss", "Opera", "org.o");
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return quits.size() >= 3; }));
  EXPECT_THAT(allTheSame, ElementsAre("Opera"));
}

TEST(AnnouncedQuits, withNamesThatAreLongerThanAnyAreIgnored) {
  testing_support::PrivateBus privateBus;
  RunLoop loop;
  const auto bus = std::move(*SessionBus::open(loop));
  std::vector<std::size_t> quits;
  platform::linux_::AnnouncedQuits announced(*bus, [&](const platform::ApplicationNotification& quit) {
    quits.push_back(quit.applicationName->size() + quit.bundleIdentifier->size());
  });
  testing_support::BusProgram launcher(loop, "");
  using Lengths = std::pair<std::size_t, std::size_t>;
  for (const auto& [name, identifier] : {Lengths(256, 0), Lengths(0, 256), Lengths(10'000'000, 1), Lengths(255, 255)}) {
    sd_bus_emit_signal(launcher.bus(), "/any", kInterface, "DidTerminateApplication", "ss",
                       std::string(name, 'x').c_str(), std::string(identifier, 'x').c_str());
  }
  ASSERT_TRUE(testing_support::runUntil(loop, [&] { return !quits.empty(); }));
  EXPECT_THAT(quits, ElementsAre(510));
}

class Texts : public ::testing::Test {
 protected:
  testing_support::ScratchFolder shared;
  GettextBundle bundle{{"id", {{"CFBundleName", "Name"}}}, shared.path()};
};

TEST_F(Texts, withoutATranslationAreTheKeyOrTheValueThatWasGiven) {
  EXPECT_EQ(bundle.localizedString("Allow", ""), "Allow");
  EXPECT_EQ(bundle.localizedString("Allow", "value"), "value");
  EXPECT_EQ(bundle.localizedString("", ""), "");
}

TEST_F(Texts, ofTheBundlesInformation) {
  EXPECT_EQ(bundle.bundleIdentifier(), "id");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("CFBundleName"), "Name");
  EXPECT_FALSE(bundle.objectForInfoDictionaryKey("Missing"));
}

TEST_F(Texts, resourcesLieInTheSharedFolder) {
  shared.file("tidewell/script.sh");
  EXPECT_EQ(bundle.urlForResource("script", "sh")->path(), shared.path("tidewell/script.sh"));
  EXPECT_FALSE(bundle.urlForResource("missing", "sh"));
}

/// What a log entry writes to standard error.
std::string logged(std::string_view text) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) return "no pipe";
  const int before = ::dup(STDERR_FILENO);
  ::dup2(ends[1], STDERR_FILENO);
  platform::linux_::LineLog().log(text);
  ::dup2(before, STDERR_FILENO);
  ::close(before);
  ::close(ends[1]);
  std::array<char, 256> buffer{};
  const ssize_t count = ::read(ends[0], buffer.data(), buffer.size());
  ::close(ends[0]);
  return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

TEST(Log, entryIsOneLineAsItIs) {
  EXPECT_EQ(logged("Sandbox has denied access to /Users/ann/é %s"), "Sandbox has denied access to /Users/ann/é %s\n");
}

TEST(Log, entryStaysOneLineWhateverIsInIt) {
  EXPECT_EQ(logged("a\nb\tc\x1b"), "a\\nb\\x09c\\x1b\n");
}

}  // namespace
