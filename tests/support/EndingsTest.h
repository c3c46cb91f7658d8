// The fixture of tests of endings: a home without a Library with a Chromium that is enabled and allowed.
#pragma once

#include <algorithm>
#include <memory>

#include "tests/support/LinuxHomeTest.h"

namespace testing_support {

class EndingsTest : public LinuxHomeTest {
 protected:
  static constexpr char kCookies[] = ".config/chromium/Default/Cookies";
  static constexpr char kChromium[] = "org.chromium.Chromium";

  EndingsTest() {
    enable({kChromium});
    platform.home.file(".config/chromium/Local State", "{}");
    platform.home.file(".config/chromium/Default/Preferences", "{}");
    platform.home.file(kCookies);
    platform.grant(home(".config/chromium"));
    platform.home.folder(".cache/chromium");
    platform.grant(home(".cache/chromium"));
  }

  /// An index of sites' storage: its path.
  std::string fillIndex() {
    const std::string index = home(".config/chromium/Default/WebStorage/QuotaManager");
    std::filesystem::create_directories(std::filesystem::path(index).parent_path());
    runStatements(index,
                  "CREATE TABLE buckets (id INTEGER, storage_key TEXT);"
                  "INSERT INTO buckets VALUES (1, 'chrome-extension://a/'), (2, 'https://visited.example/');");
    return index;
  }

  bool isOwed() {
    return std::any_of(platform.own().begin(), platform.own().end(),
                       [](const auto& entry) { return entry.first.starts_with("owedCleaning "); });
  }
  bool isClean() const { return !platform.home.exists(kCookies); }
  void starts() { platform.workspace.start(kChromium); }
  void quits() {
    platform.workspace.running.clear();
    platform.workspace.quit("Chromium", kChromium, {{"chromium"}});
  }
  /// The worker is killed, and another is started.
  void workerStartsAgain() {
    worker = nullptr;
    worker = makeWorker();
    worker->cleanWhatIsOwed();
    platform.dispatch.runUntilIdle();
  }
  /// Whether the session has ended.
  void sessionEnds() {
    worker->sessionEnds([this] { hasEnded = true; });
    platform.dispatch.runUntilIdle();
  }

  bool hasEnded = false;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

}  // namespace testing_support
