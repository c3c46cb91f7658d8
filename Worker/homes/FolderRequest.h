// Asks the person for the folders of a browser, on a home without a Library.
#pragma once

#include "Worker/homes/Layout.h"

namespace tidewell {

/// Whether a folder that the browser's cleaning needs is not granted.
bool lacksFolders(const Layout& layout, const Browser& browser);

/// Obtains a grant for each folder that the browser's cleaning needs, asking once for each that has none. Returns when
/// the person has answered: whether any folder is granted now that was not.
bool askForFolders(const Layout& layout, const Browser& browser);

}  // namespace tidewell
