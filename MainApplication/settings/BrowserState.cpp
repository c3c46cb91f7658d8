#include "MainApplication/settings/BrowserState.h"

#include <glibmm/datetime.h>

#include <map>

#include "MainApplication/settings/Texts.h"
#include "Platform/Linux/processes/ExecutableFinder.h"

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

std::string counted(const std::string& format, std::uint64_t count) {
  return platform::formatted(format, {std::to_string(count)});
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
  std::uint64_t notAllowed = 0, inUse = 0, notOverwritten = 0, others = 0;
  for (const StoreReport& store : report.stores) {
    if (store.outcome.left == Left::kNothing) continue;
    std::uint64_t& count = store.outcome.left == Left::kNotAllowed       ? notAllowed
                           : store.outcome.left == Left::kInUse          ? inUse
                           : store.outcome.left == Left::kNotOverwritten ? notOverwritten
                                                                         : others;
    ++count;
  }
  std::string text = localized("nothing was there to remove");
  if (sum.removed != 0) {
    text = platform::formatted(localizedPlural("%@ item removed, %@", "%@ items removed, %@", sum.removed),
                               {std::to_string(sum.removed), sizeText(sum.bytes)});
  }
  const auto add = [&text](std::uint64_t count, const std::string& format) {
    if (count != 0) text += "\n" + counted(format, count);
  };
  add(notAllowed, localizedPlural("%@ folder was not allowed, and was not cleaned",
                                  "%@ folders were not allowed, and were not cleaned", notAllowed));
  add(inUse, localizedPlural("%@ item was in use, and was left", "%@ items were in use, and were left", inUse));
  add(notOverwritten, localizedPlural("%@ item could not be overwritten, and was left",
                                      "%@ items could not be overwritten, and were left", notOverwritten));
  add(others, localizedPlural("%@ item could not be cleaned", "%@ items could not be cleaned", others));
  if (report.isSpared) text += "\n" + localized("It was back: the rest is left until it quits");
  return text;
}

std::string whenText(Time time) {
  const auto local = localTimeOf(time);
  return isToday(local) ? localized("Today at %@", {std::string(local.format("%R"))})
                        : std::string(local.format("%x %R"));
}

}  // namespace tidewell
