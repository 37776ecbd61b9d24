// Which rings of a polygon are outer ones and which are holes.
#pragma once

#include <vector>

#include "numerics/Geometry.h"

namespace orlinths {

/// True for every ring that lies inside an odd number of the others: a hole. Rings that touch are
/// told apart by their first point that lies beside the other. A polygon of one ring costs nothing;
/// islands in the open O(n log n), nested rings up to O(n^2) and their points.
std::vector<bool> HoleFlags(const Polygon& polygon);

}  // namespace orlinths
