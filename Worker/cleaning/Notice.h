// What the person is told of a cleaning, in one notification.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Worker/cleaning/Report.h"

namespace tidewell {

struct Notice {
  std::string text;                 // the browser, and what has gone or was left
  std::optional<std::string> more;  // what else was left, a line each
};

/// Translates a text with a number: its form for one and that for many, and the number.
using LocalizedPlural = std::function<std::string(const char* one, const char* many, std::uint64_t count)>;

/// A line for all that was left for one of the reasons that people are told; none for nothing. A folder that was not
/// allowed counts unless it is passed over.
std::vector<std::string> linesOnLeft(const Report& report, const LocalizedPlural& localizedPlural,
                                     const std::function<bool(const std::string& folder)>& isPassedOver);

/// The notice of a report, in the person's language; absent where there was nothing to remove. A folder that is never
/// asked for is not told of: that is how the person wants it.
std::optional<Notice> noticeOf(const Report& report, std::string_view browserName);

/// That there was nothing to remove.
Notice noticeOfNothing(std::string_view browserName);

}  // namespace tidewell
