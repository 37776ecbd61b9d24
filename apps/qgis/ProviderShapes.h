// Geometry of QGIS to plain geometry and back: coordinates copied array by array, no binary form in
// between.
#pragma once

#include <qgswkbtypes.h>

#include "numerics/Geometry.h"

class QgsGeometry;

namespace orlinths {

/// The plain type of a geometry type of QGIS, curves included; kNull for what has none of ours.
GeometryType PlainType(QgsWkbTypes::Type type);

/// Parts in stored order, shells clockwise and holes counter-clockwise, curves as line strings.
/// Null and what has no plain type give a null geometry; a collection the parts of its first
/// member's type.
Geometry ToPlain(const QgsGeometry& shape);
/// The same into a shape that is used again: a point in the place of a point costs nothing else.
void ToPlain(const QgsGeometry& shape, Geometry& into);

/// A geometry for a layer of type `wanted`: multi where the layer is or the shape has to be, with z
/// and m as the layer has them. Rings become shells and holes by how they lie. Null for null.
QgsGeometry ToQgis(const Geometry& shape, QgsWkbTypes::Type wanted);

}  // namespace orlinths
