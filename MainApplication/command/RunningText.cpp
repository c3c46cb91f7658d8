#include "MainApplication/command/RunningText.h"

#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/Texts.h"

namespace tidewell {

nlohmann::ordered_json runningState(const RunningBrowser& browser) {
  nlohmann::ordered_json state = {{"since", timeForPrograms(browser.since)}, {"window", nullptr}};
  if (browser.hasWindow) state["window"] = *browser.hasWindow;
  return state;
}

std::string runningText(const RunningBrowser& browser) {
  const std::string since = localTime(browser.since);
  if (!browser.hasWindow) return localized("runs since %@; whether it has a window can't be told", {since});
  return *browser.hasWindow ? localized("runs since %@", {since})
                            : localized("runs since %@, without a window: it is cleaned when it quits", {since});
}

}  // namespace tidewell
