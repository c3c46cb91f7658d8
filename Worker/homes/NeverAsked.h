// The folders for which the person has said "Never": they are asked for by hand only.
//
// Kept in the worker's own settings. Paths are whole, and without links. Any thread may read; changes are made on the
// main thread alone, so that none is lost.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Value.h"

namespace tidewell {

/// The entries of the setting; malformed ones are skipped.
std::vector<std::string> neverAskedFrom(const std::optional<platform::Value::Array>& setting);

bool isNeverAskedFor(const std::string& folder);

void neverAskAgainFor(const std::string& folder);

/// Forgets the folders that are granted now: should the grant be taken back, the person is asked again.
void askAgainForWhatIsGranted();

}  // namespace tidewell
