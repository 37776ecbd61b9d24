// Which polygons are beyond doubt free of crossings, found out without a geometry library.
#pragma once

#include "numerics/Geometry.h"

namespace orlinths {

/// True when it is certain that no two segments of the rings have a point in common, neighbours
/// their shared vertex excepted: such rings, taken as shells and holes by how they lie in one
/// another, make a valid polygon. False says nothing: the rings may meet, be open or too short,
/// repeat a vertex, come too near each other for plain doubles, hold a coordinate that is not
/// finite, or lie so that too many pairs would have to be looked at. O(vertices log vertices).
bool AreSurelySimple(const Polygon& rings);

}  // namespace orlinths
