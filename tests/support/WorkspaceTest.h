// The fixture of the tests of quits: the workspace on a run loop, and a folder with stand-ins for browsers.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/Linux/processes/LinuxWorkspace.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/Processes.h"
#include "tests/support/ScratchFolder.h"

namespace testing_support {

using namespace std::chrono_literals;

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
  static std::vector<platform::WatchedApplication> applications(const std::string& folder) {
    return {{"Firefox", "org.example.firefox", {"firefox", "firefox-esr"}, {}, {"-contentproc", "--backgroundtask"}},
            {"Google Chrome", "org.example.chrome", {"chrome"}, {}, {"--type="}},
            {"Chromium", "org.example.chromium", {"chromium"}, {folder + "/snap/*/chrome"}, {"--type="}},
            {"Opera", "org.example.opera", {"opera"}, {folder + "/elsewhere/opera"}, {"--type="}}};
  }
  void start() {
    platform::linux_::LinuxWorkspace::Options options;
    options.places.path = {folder.path("bin")};
    options.places.applicationsFolders = {folder.path("applications")};
    options.isWanted = [](const auto&) { return false; };
    start(std::move(options));
  }
  void start(platform::linux_::LinuxWorkspace::Options options) {
    workspace.start(std::move(options));
    settle();
  }

  /// Lets everything that was started finish; by default as long as the last check after a start takes. The second wait
  /// is for busy machines, where the first may end before the loop has handled any event.
  void settle(std::chrono::milliseconds time = 130ms) {
    for (const auto wait : {time, std::chrono::milliseconds(5)}) {
      bool done = false;
      loop.after(wait, [&] { done = true; });
      runUntil(loop, [&] { return done; });
    }
  }
  bool waitForQuits(std::size_t count) {
    return runUntil(loop, [&] { return quits.size() >= count; });
  }
  TestProcess run(const std::string& name, std::vector<std::string> words = {"wait"}) {
    words.insert(words.begin(), bin(name));
    TestProcess process(words);
    settle();
    return process;
  }

  ScratchFolder folder;
  platform::linux_::RunLoop loop;
  platform::linux_::LinuxWorkspace workspace{loop, applications(folder.path())};
  std::vector<std::string> quits;
};

}  // namespace testing_support
