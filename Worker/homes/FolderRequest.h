// Asks the person for the folders of a browser, on a home without a Library.
#pragma once

#include "Worker/homes/Layout.h"

namespace tidewell {

/// Obtains a grant for each folder that the browser's cleaning needs, asking once for each that has none. Returns when
/// the person has answered.
void askForFolders(const Layout& layout, const Browser& browser);

}  // namespace tidewell
