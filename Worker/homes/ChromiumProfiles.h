// The profiles of Chromium and its relatives, on a home without a Library.
#pragma once

#include "Worker/homes/Installation.h"

namespace tidewell {

/// The profiles that the list in the data folder names, and those that the browser has not come to list. With
/// `isProfileItself` the data folder counts as one too.
StoreFolders chromiumStoreFolders(const Installation& installation, bool isProfileItself);

}  // namespace tidewell
