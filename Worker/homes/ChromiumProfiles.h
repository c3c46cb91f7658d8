// The profiles of Chromium and its relatives, on a home without a Library.
#pragma once

#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Installation.h"

namespace tidewell {

/// The profiles listed in the data folder's "Local State", and those that the browser has not listed yet. With
/// `isProfileItself` the data folder counts as a profile too.
StoreFolders chromiumStoreFolders(const Installation& installation, bool isProfileItself, const HomeFolder& home);

}  // namespace tidewell
