// What the person is told of a cleaning, in one notification.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Worker/cleaning/Report.h"

namespace tidewell {

struct Notice {
  std::string text;                 // the browser, and what has gone or was left
  std::optional<std::string> more;  // what else was left, a line each
};

/// The notice of a report, in the person's language; absent where there was nothing to remove. A folder that is never
/// asked for is not told of: that is how the person wants it.
std::optional<Notice> noticeOf(const Report& report, std::string_view browserName);

/// That there was nothing to remove.
Notice noticeOfNothing(std::string_view browserName);

}  // namespace tidewell
