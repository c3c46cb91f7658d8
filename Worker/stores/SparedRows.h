// Databases of which the rows of kept sites stay. Internal to the treatments.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/sandbox/Outcome.h"

namespace tidewell::treatments {

/// Which rows of a table stay.
struct SparedRows {
  std::string_view table;
  std::vector<std::string_view> columns;  // the first must be there; others are "" where they are missing
  std::function<bool(std::span<const std::string_view> values)> isKept;
};

/// Removes all other rows, and all of other tables but those for the database's own affairs. A database with tables of
/// which none is among these, or with one that lacks its first column, is left.
Outcome keepOnlyRows(const std::string& path, const std::vector<SparedRows>& tables);

}  // namespace tidewell::treatments
