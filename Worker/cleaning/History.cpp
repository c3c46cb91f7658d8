#include "Worker/cleaning/History.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "Platform/Platform.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr std::size_t kMost = 100;

/// One line for each group and for each store that was left: as much as old reports need.
void shorten(Report& report) {
  std::vector<StoreReport> lines;
  for (const StoreGroup group : {StoreGroup::kCookies, StoreGroup::kSiteStorage, StoreGroup::kCaches}) {
    const Outcome sum = report.sum(group);
    if (sum.removed > 0) lines.push_back({"", "", group, {Left::kNothing, sum.removed, sum.bytes}});
  }
  for (StoreReport& store : report.stores) {
    if (store.outcome.left == Left::kNothing) continue;
    store.outcome.removed = store.outcome.bytes = 0;
    lines.push_back(std::move(store));
  }
  report.stores = std::move(lines);
}

}  // namespace

void History::add(const Report& report) {
  if (Platform::current().userDefaults.suite(kSharedSuite)->boolForKey(kNoHistoryKey)) return;
  static std::mutex mutex;  // two browsers may come to their end at the same time
  const std::lock_guard lock(mutex);
  const auto own = Platform::current().userDefaults.standardUserDefaults();
  Value::Array stored = own->arrayForKey(kHistoryKey).value_or(Value::Array());
  for (Value& value : stored) {
    auto known = reportOf(value);
    if (!known || known->browser != report.browser) continue;
    shorten(*known);
    value = valueOf(*known);
  }
  stored.push_back(valueOf(report));
  if (stored.size() > kMost) stored.erase(stored.begin(), stored.end() - kMost);
  own->setObject(stored, kHistoryKey);
}

std::vector<Report> History::reportsIn(const std::optional<Value>& stored) {
  std::vector<Report> reports;
  const auto* values = stored ? stored->as<Value::Array>() : nullptr;
  if (values == nullptr) return reports;
  for (const Value& value : *values) {
    if (auto report = reportOf(value)) reports.push_back(std::move(*report));
  }
  return reports;
}

}  // namespace tidewell
