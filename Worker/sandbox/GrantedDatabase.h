// A database in a granted folder of which a part stays. Internal to sandbox/; the caller holds the grant.
//
// Whatever lies in the places of the database and its companions (its journal, write-ahead log and shared-memory file),
// nothing else is changed: links are not followed, a file with other names is replaced by a copy before it is opened,
// and what is left afterwards is a file that was written anew.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/FileManager.h"
#include "Worker/database/Rows.h"
#include "Worker/database/SqlPredicate.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell {

/// The rows of a query; none when the database is missing. Absent when it is in use, or can't be read: `left` says so.
/// Changes nothing.
std::optional<Rows> rowsInsideGrant(const std::string& query, const std::string& path, Left& left);

/// Runs statements in order, up to the first that fails, and leaves a database with nothing but what they keep: no
/// unused page, no journal. A missing database is nothing to do.
///
/// The new file is completely on the disk before it takes the place of the old one, which is then removed. A database
/// above DatabaseImage::kLargest is changed in place, which counts as not overwritten where it should be.
Outcome changeInsideGrant(const std::vector<std::string>& statements, const std::string& path,
                          platform::Overwriting overwriting, const SqlPredicates& predicates = {});

}  // namespace tidewell
