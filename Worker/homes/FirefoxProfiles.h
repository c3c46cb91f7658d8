// The profiles of Firefox and its relatives, on a home without a Library.
#pragma once

#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Installation.h"

namespace tidewell {

/// The profiles beside the list of profiles, and the deeper ones that it names. Folders of caches count where the
/// profile of that name exists.
StoreFolders firefoxStoreFolders(const Installation& installation, const HomeFolder& home);

}  // namespace tidewell
