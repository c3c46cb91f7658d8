// The fixture of tests on a home without a Library. The home is empty, and nothing is granted.
#pragma once

#include <chrono>
#include <filesystem>

#include "Worker/browsers/Browsers.h"
#include "tests/support/Databases.h"
#include "tests/support/HomeContents.h"
#include "tests/support/LinuxSampleHome.h"
#include "tests/support/WorkerTest.h"

namespace testing_support {

class LinuxHomeTest : public WorkerTest {
 protected:
  LinuxHomeTest() {
    std::filesystem::remove(home("Library"));
    useHome();
  }

  const UnflushedDatabases unflushed;

  static const tidewell::Browser& browser(std::string_view name) { return *tidewell::browserNamed(name); }

  /// Grants exactly what a request for that browser asks for in the sample home.
  void grantSampleHome(const std::string& browserName) {
    for (const std::string& folder : foldersOfLinuxSampleHome(browserName)) platform.grant(home(folder));
  }

  /// Enables only this browser, lets it quit, and lets both runs pass.
  void quit(std::string_view name, std::vector<platform::Arguments> processes = {}) {
    const std::string identifier(browser(name).bundleIdentifier);
    enable({identifier});
    platform.workspace.quit(std::string(name), identifier, std::move(processes));
    platform.dispatch.advance(std::chrono::seconds(60));
  }

  /// The folders of the panels so far, below the home folder.
  std::vector<std::string> panels() const {
    std::vector<std::string> folders;
    for (const std::string& path : platform.journal.entriesAfter("panel ")) {
      const bool isInHome = path.starts_with(platform.home.path() + "/");
      folders.push_back(isInHome ? path.substr(platform.home.path().size() + 1) : path);
    }
    return folders;
  }
};

}  // namespace testing_support
