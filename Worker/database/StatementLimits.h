// Limits for a connection to a database whose schema may be hostile: a site, or whoever could write to the file, has
// chosen what is in it.
#pragma once

#include <chrono>

#include "Worker/database/Sqlite.h"

namespace tidewell {

/// While it lives, statements on the connection run no trigger and no view of the schema, call no function from it that
/// could do harm, make no value above 64 MiB, and are interrupted (SQLITE_INTERRUPT) when they have taken `time`
/// together. The connection must be open, and outlive the object.
class StatementLimits {
 public:
  static constexpr std::chrono::seconds kTime{30};

  explicit StatementLimits(Sqlite& database, std::chrono::steady_clock::duration time = kTime);
  ~StatementLimits();
  StatementLimits(const StatementLimits&) = delete;
  StatementLimits& operator=(const StatementLimits&) = delete;

 private:
  Sqlite& database_;
  const std::chrono::steady_clock::time_point deadline_;
};

}  // namespace tidewell
