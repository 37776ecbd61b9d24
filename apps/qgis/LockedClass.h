// A table or class that is open for editing in QGIS: read as ever, refuses every edit with
// error 70.
#pragma once

#include "data/Table.h"

namespace orlinths {

TablePtr Locked(TablePtr table);
FeatureClassPtr Locked(FeatureClassPtr featureClass);

}  // namespace orlinths
