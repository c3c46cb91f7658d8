#include "Worker/browsers/EnabledBrowsers.h"

#include <algorithm>
#include <optional>

#include "Platform/Platform.h"
#include "Worker/Identity.h"

namespace tidewell {

namespace {

using platform::Value;

/// Absent while the settings can't be read.
std::optional<bool> isListed(const Browser& browser) {
  const auto settings = platform::Platform::current().userDefaults.suite(kSharedSuite);
  const auto setting = settings->checkedObjectForKey(kEnabledBrowsersKey);
  if (!setting) return std::nullopt;
  const auto* enabled = *setting ? (*setting)->as<Value::Array>() : nullptr;
  return enabled != nullptr &&
         std::find(enabled->begin(), enabled->end(), Value(browser.bundleIdentifier)) != enabled->end();
}

}  // namespace

bool isEnabled(const Browser& browser) {
  return isListed(browser).value_or(false);
}

bool isDisabled(const Browser& browser) {
  return !isListed(browser).value_or(true);
}

}  // namespace tidewell
