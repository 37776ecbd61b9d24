// The place on a line or ring that is nearest to a point.
#pragma once

#include <cstdint>

#include "numerics/Geometry.h"

namespace orlinths {

/// A place on the segments of a shape: between the points `segment` and `segment + 1` over all
/// parts, `fraction` of the way (0 and 1 are the vertices themselves, and `at` is then equal to
/// them to the bit).
struct PlaceOnShape {
  std::int64_t segment = -1;
  double fraction = 0;
  Coord at{Point::kNone, Point::kNone};
  double distance = std::numeric_limits<double>::infinity();
};

/// The nearest place to `to` on the segments of a polyline or polygon's rings, or among the points
/// of a multipoint. Of places equally near the first. A part of one point counts as that point.
/// Error 5 for an empty shape and when no distance is a number. O(points).
PlaceOnShape NearestPlace(const Polyline& line, const Coord& to);
PlaceOnShape NearestPlace(const Polygon& rings, const Coord& to);
PlaceOnShape NearestPlace(const Multipoint& points, const Coord& to);

}  // namespace orlinths
