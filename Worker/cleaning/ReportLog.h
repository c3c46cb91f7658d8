// What a cleaning tells the log: an entry for each, and one for each thing that was not done.
//
// Their fields: TIDEWELL_BROWSER (a bundle identifier), TIDEWELL_CAUSE, TIDEWELL_ITEMS, TIDEWELL_BYTES, TIDEWELL_DONE
// ("yes" or "no"); for what was not done TIDEWELL_STORE, TIDEWELL_LEFT and TIDEWELL_ERROR (the system's number). The
// words are those of Report.h. As in reports, no site is named.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/Log.h"
#include "Worker/cleaning/Report.h"

namespace tidewell {

/// The fields of an entry on a store that was left.
std::vector<platform::LogField> logFields(const std::string& browser, std::string_view store, const Outcome& outcome);

/// Records that a browser was cleaned, and which folders were not allowed. What else was left was logged at the time.
void recordInLog(const Report& report);

}  // namespace tidewell
