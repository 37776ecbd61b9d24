// Which rings of a polygon are outer ones and which are holes.
#pragma once

#include <vector>

#include "numerics/Geometry.h"

namespace orlinths {

/// Of every ring the outer ring that it is a hole of, or -1 for an outer ring. A hole lies inside
/// an odd number of the others, and belongs to the smallest of them. Rings that touch are told
/// apart by their first point that lies beside the other. A polygon of one ring costs nothing;
/// islands in the open O(n log n), nested rings up to O(n^2) and their points.
std::vector<int> ShellsOfRings(const Polygon& polygon);

/// True for every hole.
std::vector<bool> HoleFlags(const Polygon& polygon);

}  // namespace orlinths
