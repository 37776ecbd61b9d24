// The choice of a spatial reference.
#pragma once

#include "host/Dialog.h"

class QWidget;

namespace orlinths {

/// Asks the user in QGIS's own window, beginning with `reference`; false when cancelled. A user who
/// leaves it as it is gets the very same one.
bool AskForReference(const IDialogHost::ReferenceQuestion& question, SpatialReferencePtr& reference,
                     QWidget* parent);

}  // namespace orlinths
