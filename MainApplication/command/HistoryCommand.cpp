// "tidewell history [BROWSER]".

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReportText.h"
#include "MainApplication/command/Texts.h"

namespace tidewell {
using nlohmann::ordered_json;

int Commands::history(const std::vector<std::string>& names) {
  const auto found = browsersFor(names);
  if (found.empty() && !names.empty()) return kMisused;
  if (options_.clear) return settings_.clearHistory() ? done(localized("The history is empty now.")) : failToWrite();
  std::vector<Report> reports = settings_.history();
  std::erase_if(reports, [&found](const Report& report) {
    return !found.empty() && std::none_of(found.begin(), found.end(), [&report](const Browser* browser) {
      return browser->bundleIdentifier == report.browser;
    });
  });
  if (options_.last && reports.size() > 1) reports.erase(reports.begin(), reports.end() - 1);
  if (options_.json) {
    ordered_json states = ordered_json::array();
    for (const Report& report : reports) states.push_back(stateOf(report));
    output_ << states.dump(2, ' ', true, ordered_json::error_handler_t::replace) << '\n';
    return kDone;
  }
  for (const Report& report : reports) print(report, options_.verbose, output_);
  if (reports.empty()) return done(localized("No cleaning is in the history."));
  return kDone;
}

}  // namespace tidewell
