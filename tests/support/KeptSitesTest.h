// The fixture of tests of sites that are kept: a home with a profile of each family, without anything in it.
//
// Kept are "kept.test" with all below it, "=alone.test", "=www.below.test" and "[::1]".
#pragma once

#include "Worker/Identity.h"
#include "tests/support/BrowserFiles.h"
#include "tests/support/LinuxHomeTest.h"

namespace testing_support {

class KeptSitesTest : public LinuxHomeTest {
 protected:
  KeptSitesTest() {
    keep({"kept.test", "=alone.test", "=www.below.test", "[::1]"});
    platform.home.file(".config/chromium/Local State", R"({"profile": {"info_cache": {"Default": {"name": "Ann"}}}})");
    platform.home.file(chrome("Preferences"), "{}");
    platform.home.file(firefox("times.json"), "{}");
    for (const char* folder : {".config/chromium", ".mozilla/firefox", ".cache/chromium", ".cache/mozilla/firefox"}) {
      platform.home.folder(folder);
      platform.grant(home(folder));
    }
  }

  void keep(const platform::Value::Array& sites) {
    platform.shared().insert_or_assign(tidewell::kKeptSitesKey, platform::Value(sites));
  }

  /// Paths below the home, in the profiles.
  static std::string chrome(const std::string& path) { return ".config/chromium/Default/" + path; }
  static std::string firefox(const std::string& path) { return ".mozilla/firefox/ann/" + path; }

  void clean() {
    quit("Chromium");
    quit("Firefox");
  }

  /// Whether a line in the log says that a store was left.
  std::vector<std::string> complaints() const { return platform.log.lines(); }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

}  // namespace testing_support
