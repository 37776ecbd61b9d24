// Layers of QGIS whose data do not come from files that GDAL opens (a database, a web service, a
// sketch in memory) as tables and feature classes: through QGIS's own data provider.
#pragma once

#include "data/Table.h"

class QgsVectorLayer;

namespace orlinths {

/// The class of a valid layer with shapes. It answers error 91 once the layer has been removed, and
/// edits with error 70 where the provider, the layer or the user's open edits forbid them.
FeatureClassPtr OpenProviderClass(QgsVectorLayer& layer);
/// The table of a valid layer without shapes.
TablePtr OpenProviderTable(QgsVectorLayer& layer);

}  // namespace orlinths
