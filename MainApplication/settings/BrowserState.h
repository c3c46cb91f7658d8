// What the window knows of a browser, and the one thing that its row says.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "MainApplication/client/RunningBrowsers.h"
#include "MainApplication/client/SettingsStore.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/cleaning/Report.h"

namespace tidewell {

struct BrowserState {
  using Allowed = SettingsStore::Allowed;

  bool isHere = false;  // installed, in use in this home, or enabled
  bool isEnabled = false;
  bool isAsking = false;    // a question for folders is open, or will be
  bool isCleaning = false;  // since the person has asked for it here
  Allowed folders = Allowed::kNone;
  bool hasNeverAsked = false;  // the person has said "Never" to a folder
  std::optional<RunningBrowser> running = {};
  std::optional<Report> last = {};  // its last cleaning

  /// The states of these browsers, in their order, but for what the window alone knows.
  static std::vector<BrowserState> of(const std::vector<const Browser*>& browsers, const SettingsStore& settings);
};

/// The most important of it, in a few words.
std::string sentenceOn(const BrowserState& state);

/// Since when it runs, and whether nobody sees that.
std::string sentenceOn(const RunningBrowser& running);

/// What a cleaning has removed, and what it has left and why.
std::string sentenceOn(const Report& report);

/// "Today at 17:39", or the date with the time.
std::string whenText(std::chrono::system_clock::time_point time);

}  // namespace tidewell
