#include "Worker/cleaning/ReportLog.h"

#include "Platform/Format.h"
#include "Platform/Platform.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {
namespace {

constexpr char kCleaned[] = "%@ was cleaned: %@ items, %@ bytes";
constexpr char kSpared[] = "%@ was left: it runs again";
constexpr char kNotAllowed[] = "%@ of %@ was left: it is not allowed";

std::string nameOf(const Report& report) {
  const Browser* browser = browserWithIdentifier(report.browser);
  return browser != nullptr ? std::string(browser->name) : report.browser;
}

}  // namespace

std::vector<platform::LogField> logFields(const std::string& browser, std::string_view store, const Outcome& outcome) {
  return {{"TIDEWELL_BROWSER", browser},
          {"TIDEWELL_STORE", std::string(store)},
          {"TIDEWELL_LEFT", std::string(wordFor(outcome.left))},
          {"TIDEWELL_ERROR", std::to_string(outcome.error)}};
}

void recordInLog(const Report& report) {
  platform::Log& log = platform::Platform::current().log;
  const std::string name = nameOf(report);
  const Outcome sum = report.sum();
  const std::string items = std::to_string(sum.removed);
  const std::string bytes = std::to_string(sum.bytes);
  log.record(platform::formatted(report.isSpared ? kSpared : kCleaned, {name, items, bytes}),
             {{"TIDEWELL_BROWSER", report.browser},
              {"TIDEWELL_CAUSE", std::string(wordFor(report.cause))},
              {"TIDEWELL_ITEMS", items},
              {"TIDEWELL_BYTES", bytes},
              {"TIDEWELL_DONE", report.isDone() ? "yes" : "no"}});
  for (const std::string& folder : report.notAllowed()) {
    log.record(platform::formatted(kNotAllowed, {folder, name}),
               logFields(report.browser, folder, {Left::kNotAllowed}));
  }
}

}  // namespace tidewell
