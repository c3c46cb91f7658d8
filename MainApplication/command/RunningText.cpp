#include "MainApplication/command/RunningText.h"

#include "MainApplication/command/ReadableText.h"

namespace tidewell {

nlohmann::ordered_json runningState(const RunningBrowser& browser) {
  nlohmann::ordered_json state = {{"since", timeForPrograms(browser.since)}, {"window", nullptr}};
  if (browser.hasWindow) state["window"] = *browser.hasWindow;
  return state;
}

std::string runningText(const RunningBrowser& browser) {
  const std::string text = "runs since " + localTime(browser.since);
  if (!browser.hasWindow) return text + "; whether it has a window can't be told";
  return *browser.hasWindow ? text : text + ", without a window: it is cleaned when it quits";
}

}  // namespace tidewell
