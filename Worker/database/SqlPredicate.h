// A function that statements on a connection can call, written in C++.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/database/Sqlite.h"

namespace tidewell {

struct SqlPredicate {
  /// The arguments are those of the call, as text; "" for null.
  using Test = std::function<bool(std::span<const std::string_view> arguments)>;

  std::string name;  // takes any number of arguments
  Test test;
};

using SqlPredicates = std::vector<SqlPredicate>;

/// Makes them known on an open connection, but to nothing in the schema of its database. They must outlive it. A test
/// that throws ends the statement with SQLITE_NOMEM. False when one could not be made known.
bool define(Sqlite& connection, const SqlPredicates& predicates);

}  // namespace tidewell
