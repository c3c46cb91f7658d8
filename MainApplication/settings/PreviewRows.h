// The rows of a preview's list, made of those lines that are in view.
#pragma once

#include <adwaita.h>

#include "MainApplication/settings/PreviewList.h"

namespace tidewell {

/// A model of the groups, which unfold to their lines. The caller owns it.
GtkSelectionModel* newPreviewModel(const PreviewList& list);

/// Makes the rows for such a model. The caller owns it.
GtkListItemFactory* newPreviewRows();

}  // namespace tidewell
