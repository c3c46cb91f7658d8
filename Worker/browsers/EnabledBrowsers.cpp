#include "Worker/browsers/EnabledBrowsers.h"

#include <algorithm>

#include "Platform/Platform.h"
#include "Worker/Identity.h"

namespace tidewell {

using platform::Value;

bool isEnabled(const Browser& browser) {
  const auto settings = platform::Platform::current().userDefaults.suite(kSharedSuite);
  const Value::Array enabled = settings->arrayForKey(kEnabledBrowsersKey).value_or(Value::Array());
  return std::find(enabled.begin(), enabled.end(), Value(browser.bundleIdentifier)) != enabled.end();
}

}  // namespace tidewell
