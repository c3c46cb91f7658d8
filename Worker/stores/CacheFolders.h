// The folders of "Service Worker/CacheStorage", each with an index that alone names the owner. Internal to the
// treatments.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Worker/cells/InCell.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell::treatments {

/// What is known of a folder by its index.
struct CacheIndex {
  std::string path;
  std::optional<std::string> bytes = {};  // absent when the index is missing, or too large to be one
  OwnersInCell::Owner owner = {};         // absent when it names none
};

/// Removes each folder in `path` for which `stays` answers no. One whose index can't be read stays, as one does for
/// which there is no answer. The indexes are read many at a time: a cell for each would take longer than the removing.
Outcome removeCachesUnless(const std::string& path, CellTask task,
                           const std::function<std::optional<bool>(const CacheIndex& index)>& stays);

}  // namespace tidewell::treatments
