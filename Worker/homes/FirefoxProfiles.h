// The profiles of Firefox and its relatives, on a home without a Library.
#pragma once

#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Installation.h"

namespace tidewell {

/// The folders that lie beside the list of profiles, and those that it places deeper: what is no profile has none of
/// the stores of one.
StoreFolders firefoxStoreFolders(const Installation& installation, const HomeEyes& eyes);

}  // namespace tidewell
