// The profiles of Firefox and its relatives, on a home without a Library.
#pragma once

#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Installation.h"

namespace tidewell {

/// The folders beside the list of profiles, and the deeper ones that it names. One that is no profile has none of a
/// profile's stores.
StoreFolders firefoxStoreFolders(const Installation& installation, const HomeEyes& eyes);

}  // namespace tidewell
