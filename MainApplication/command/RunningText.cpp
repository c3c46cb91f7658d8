#include "MainApplication/command/RunningText.h"

#include <array>
#include <ctime>

namespace tidewell {
namespace {

std::string formatted(const char* format, const std::tm& time) {
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

}  // namespace

nlohmann::ordered_json runningState(const RunningBrowser& browser) {
  const std::time_t since = std::chrono::system_clock::to_time_t(browser.since);
  std::tm time{};
  ::gmtime_r(&since, &time);
  nlohmann::ordered_json state = {{"since", formatted("%Y-%m-%dT%H:%M:%SZ", time)}, {"window", nullptr}};
  if (browser.hasWindow) state["window"] = *browser.hasWindow;
  return state;
}

std::string runningText(const RunningBrowser& browser) {
  const std::time_t since = std::chrono::system_clock::to_time_t(browser.since);
  std::tm time{};
  ::localtime_r(&since, &time);
  const std::string text = "runs since " + formatted("%Y-%m-%d %H:%M", time);
  if (!browser.hasWindow) return text + "; whether it has a window can't be told";
  return *browser.hasWindow ? text : text + ", without a window: it is cleaned when it quits";
}

}  // namespace tidewell
