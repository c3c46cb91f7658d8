#include "MainApplication/settings/BrowserState.h"

#include <glibmm/datetime.h>

#include <map>

#include "MainApplication/settings/Texts.h"
#include "Platform/Linux/processes/ExecutableFinder.h"
#include "Worker/cleaning/Notice.h"

namespace tidewell {
namespace {

namespace linux_ = platform::linux_;
using Time = std::chrono::system_clock::time_point;

Glib::DateTime localTimeOf(Time time) {
  return Glib::DateTime::create_now_local(std::chrono::system_clock::to_time_t(time));
}

bool isToday(const Glib::DateTime& time) {
  const auto now = Glib::DateTime::create_now_local();
  return time.get_year() == now.get_year() && time.get_day_of_year() == now.get_day_of_year();
}

/// The time alone if it was today.
std::string sinceText(Time time) {
  const auto local = localTimeOf(time);
  return local.format(isToday(local) ? "%R" : "%x %R");
}

Time endOf(const Report& report) {
  for (auto run = report.runs.rbegin(); run != report.runs.rend(); ++run) {
    if (run->ended != Report::Run::kCutOff) return run->ended;
  }
  return report.runs.empty() ? Time() : report.runs.back().begun;
}

std::string cleanedText(const Report& report) {
  const auto time = localTimeOf(endOf(report));
  const std::string clock = time.format("%R");
  const std::string date = time.format("%x");
  if (!report.isDone()) {
    return isToday(time) ? localized("Partly cleaned today at %@", {clock}) : localized("Partly cleaned on %@", {date});
  }
  const std::string text =
      isToday(time) ? localized("Cleaned today at %@", {clock}) : localized("Cleaned on %@", {date});
  const std::uint64_t bytes = report.sum().bytes;
  return bytes == 0 ? text : localized("%@, %@", {text, sizeText(bytes)});
}

}  // namespace

std::vector<BrowserState> BrowserState::of(const std::vector<const Browser*>& browsers, const SettingsStore& settings) {
  std::vector<platform::WatchedApplication> programs;
  for (const Browser* browser : browsers) programs.push_back(watched(*browser));
  linux_::PathWatch::Interests unused;
  const auto found = linux_::findExecutables(programs, linux_::SearchPlaces::fromEnvironment(), unused);
  const auto running = runningBrowsers();
  std::map<std::string, Report> last;
  for (Report& report : settings.history()) last[report.browser] = std::move(report);

  std::vector<BrowserState> states;
  for (std::size_t index = 0; index < browsers.size(); ++index) {
    const Browser& browser = *browsers[index];
    BrowserState& state = states.emplace_back();
    state.isEnabled = settings.isEnabled(browser);
    state.folders = settings.allowed(browser);
    state.hasNeverAsked = !settings.neverAsked(browser).empty();
    state.isHere = state.isEnabled || state.folders != Allowed::kNothingThere || !found[index].programs.empty() ||
                   !found[index].scripts.empty();
    if (const auto it = running.find(browser.bundleIdentifier); it != running.end()) state.running = it->second;
    if (const auto it = last.find(std::string(browser.bundleIdentifier)); it != last.end()) state.last = it->second;
  }
  return states;
}

std::string sentenceOn(const BrowserState& state) {
  using Allowed = BrowserState::Allowed;
  if (state.isAsking) return localized("Waiting for your answer…");
  if (state.isCleaning) return localized("It is being cleaned…");
  if (!state.isEnabled) return localized("Not cleaned");
  if (state.folders == Allowed::kNone || state.folders == Allowed::kSome) return localized("Needs permission");
  if (state.running && !state.running->hasWindow.value_or(true)) return sentenceOn(*state.running);
  if (state.last) return cleanedText(*state.last);
  if (state.folders == Allowed::kNothingThere) return localized("Not run yet");
  return localized("Cleaned when it quits");
}

std::string sentenceOn(const RunningBrowser& running) {
  const std::string since = sinceText(running.since);
  return running.hasWindow.value_or(true) ? localized("It runs since %@", {since})
                                          : localized("Runs in the background since %@", {since});
}

std::string sentenceOn(const Report& report) {
  const Outcome sum = report.sum();
  std::string text = localized("nothing was there to remove");
  if (sum.removed != 0) {
    text = platform::formatted(localizedPlural("%@ item removed, %@", "%@ items removed, %@", sum.removed),
                               {std::to_string(sum.removed), sizeText(sum.bytes)});
  }
  for (const std::string& line : linesOnLeft(report, localizedPlural, [](const std::string&) { return false; })) {
    text += "\n" + line;
  }
  if (report.isSpared) text += "\n" + localized("It was back: the rest is left until it quits");
  return text;
}

std::string whenText(Time time) {
  const auto local = localTimeOf(time);
  return isToday(local) ? localized("Today at %@", {std::string(local.format("%R"))})
                        : std::string(local.format("%x %R"));
}

}  // namespace tidewell
