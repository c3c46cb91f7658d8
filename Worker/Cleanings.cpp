#include "Worker/Cleanings.h"

#include <algorithm>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/cleaning/History.h"

namespace tidewell {
namespace {

using platform::RemoteAnswer;
using platform::RemoteReply;
using platform::RemoteType;
using platform::Value;

RemoteAnswer answerTo(WorkerAppDelegate::Refusal refusal) {
  switch (refusal) {
    case WorkerAppDelegate::Refusal::kUnknownBrowser:
      return {{}, kUnknownBrowserError, "no browser that can be cleaned in this home has that identifier"};
    case WorkerAppDelegate::Refusal::kNotEnabled:
      return {{}, kNotEnabledError, "the browser is not enabled"};
    case WorkerAppDelegate::Refusal::kIsRunning:
      return {{}, kIsRunningError, "the browser is running"};
  }
  return {};
}

void clean(WorkerAppDelegate& delegate, const std::vector<Value>& arguments, const RemoteReply& reply) {
  const IfRunning ifRunning = *arguments[1].as<bool>() ? IfRunning::kIsCleaned : IfRunning::kIsSpared;
  const auto done = [reply](const Report& report) { reply({.value = publicFormOf(report)}); };
  const auto refusal = delegate.cleanNow(*arguments[0].as<std::string>(), ifRunning, done);
  if (refusal) reply(answerTo(*refusal));
}

/// From the settings: so nothing is kept in memory, and nothing is told that the person has had forgotten.
void answerLastReport(const std::vector<Value>& arguments, const RemoteReply& reply) {
  const auto& browser = *arguments[0].as<std::string>();
  const auto reports =
      History::reportsIn(platform::Platform::current().userDefaults.standardUserDefaults()->objectForKey(kHistoryKey));
  const auto last = std::find_if(reports.rbegin(), reports.rend(), [&browser](const Report& report) {
    return browser.empty() || report.browser == browser;
  });
  reply({.value = last != reports.rend() ? publicFormOf(*last) : Value::Dictionary()});
}

}  // namespace

Value::Dictionary publicFormOf(const Report& report) {
  const Outcome sum = report.sum();
  const Value stored = valueOf(report);
  Value::Dictionary form = *stored.as<Value::Dictionary>();
  form.insert_or_assign("done", report.isDone());
  form.insert_or_assign("items", static_cast<std::int64_t>(sum.removed));
  form.insert_or_assign("bytes", static_cast<std::int64_t>(sum.bytes));
  return form;
}

platform::RemoteInterface cleaningsInterface(WorkerAppDelegate& delegate) {
  const platform::RemoteArgument browser{"bundleIdentifier", RemoteType::kText};
  const platform::RemoteArgument report{"report", RemoteType::kDictionary};
  return {kCleaningsInterface,
          {{kCleanMethod,
            {browser, {"evenIfRunning", RemoteType::kFlag}},
            "report",
            [&delegate](const std::vector<Value>& arguments, const RemoteReply& reply) {
              clean(delegate, arguments, reply);
            }},
           {kLastReportMethod, {browser}, "report", &answerLastReport}},
          {{kRunEndedSignal, {browser, report}}, {kCleanedSignal, {browser, report}}}};
}

void announceRuns(WorkerAppDelegate& delegate, platform::RemoteService& service) {
  delegate.setRunsHandler([&service](const Browser&, const Report& report, bool isLast) {
    service.emit(isLast ? kCleanedSignal : kRunEndedSignal, {report.browser, publicFormOf(report)});
  });
}

}  // namespace tidewell
