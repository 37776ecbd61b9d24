// Coordinate reference systems of QGIS as the platform's, and the other way round.
#pragma once

#include "data/SpatialReference.h"

class QgsCoordinateReferenceSystem;

namespace orlinths {

/// Unknown for an invalid one; never null.
SpatialReferencePtr ReferenceOf(const QgsCoordinateReferenceSystem& crs);
/// Invalid for the unknown one.
QgsCoordinateReferenceSystem CrsOf(const ISpatialReference& reference);

}  // namespace orlinths
