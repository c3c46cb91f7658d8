// A database changed in memory: what its file would hold afterwards, without a page that is not in use.
//
// Deleting in place is not enough: rows stay readable in unused pages, in the journal, and behind the new end of the
// file, and a file that has other names would be changed under all of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Worker/database/SqlPredicate.h"
#include "Worker/database/Sqlite.h"

namespace tidewell {

struct DatabaseImage {
  static constexpr std::uint64_t kLargest = std::uint64_t{128} << 20;  // bytes; memory taken is up to three times that

  enum class Condition {
    kSound,
    kInUse,       // another connection has locked it
    kTooLarge,    // more than kLargest
    kUnreadable,  // damaged, encrypted, no database, or a statement has failed
  };

  Condition condition = Condition::kUnreadable;
  std::optional<std::string> bytes = std::nullopt;  // absent when the file holds the same already
  bool hasOtherRows = false;                        // than before; false also when only unused pages differ

  /// Locks the database of the connection, which stays locked until it is closed, writes its log back into its file,
  /// and runs the statements on a copy in memory, under StatementLimits. Nothing is flushed or removed when the
  /// connection is closed afterwards, so that its journals can be overwritten.
  static DatabaseImage after(Sqlite& source, const std::vector<std::string>& statements,
                             const SqlPredicates& predicates = {});
};

/// Whether the last statement on a connection has failed.
bool hasFailed(const Sqlite& connection);

/// Whether it has failed because another connection has locked the database.
bool isInUse(const Sqlite& connection);

/// Whether any row was changed through the connection.
bool hasChangedRows(const Sqlite& connection);

/// Locks the database of a connection from its first statement on, and keeps closing it from writing or removing
/// anything. No shared-memory file is used.
void holdAlone(Sqlite& connection);

}  // namespace tidewell
