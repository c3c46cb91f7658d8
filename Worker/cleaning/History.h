// The reports of the last cleanings, in the worker's own settings.
//
// There are at most 100, the newest last; of all but the newest of each browser only the sums are kept, and what was
// left. Nothing is kept while the person wants no history. Any thread.
#pragma once

#include <vector>

#include "Platform/UserDefaults.h"
#include "Worker/cleaning/Report.h"

namespace tidewell {

class History {
 public:
  History() = delete;

  /// Adds a report, in one write.
  static void add(const Report& report);

  /// The reports in a worker's own settings, the oldest first. What is no report is passed over.
  static std::vector<Report> reportsIn(const std::optional<platform::Value>& stored);
};

}  // namespace tidewell
