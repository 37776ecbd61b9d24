// Topological, relational and proximity operators on plain geometry. What a library makes of a
// shape is kept with it (see Multipart::Native), so that repeated calls with one shape pay for it
// once. Failures are platform errors in the library's words; a stop request reaches into long calls
// and raises error 18.
#pragma once

#include "numerics/Geometry.h"

namespace orlinths {

/// Leaves a valid shape as it is, to the bit; an invalid polygon is repaired, polygonal parts only,
/// outer rings clockwise.
Geometry Simplify(const Geometry& shape);
/// The same, with the first vertex of the shape first in the result's ring that holds it.
Geometry SimplifyPreserveFromTo(const Geometry& shape);

/// Parts of `dimension` (0 points, 1 lines, 2 areas) common to both; possibly empty, never null.
/// Dimension 0 gives a Multipoint, 1 a Polyline, 2 a Polygon. Of a line and a polygon at dimension
/// 0: the points where the line meets the polygon's boundary.
Geometry Intersect(const Geometry& a, const Geometry& b, int dimension);
Geometry Union(const Geometry& a, const Geometry& b);
Geometry Difference(const Geometry& a, const Geometry& b);
Geometry ConvexHull(const Geometry& shape);
/// Round, 32 segments a quarter. A negative distance shrinks a polygon; the result may be empty.
Polygon Buffer(const Geometry& shape, double distance);

/// On the boundary is not within. Empty and null shapes are within nothing, contain nothing and are
/// disjoint from all.
bool Within(const Geometry& inner, const Geometry& outer);
bool Contains(const Geometry& outer, const Geometry& inner);
bool Disjoint(const Geometry& a, const Geometry& b);
bool Intersects(const Geometry& a, const Geometry& b);

/// Of a polygon the whole area counts: a point inside is its own nearest, at distance 0. An empty
/// shape raises error 91.
Point ReturnNearestPoint(const Geometry& shape, const Point& to);
double ReturnDistance(const Geometry& a, const Geometry& b);

/// True when the point is in the polygon or on its boundary (even-odd over all rings). No library
/// call; O(vertices).
bool CoversPoint(const Polygon& polygon, double x, double y);

bool IsValid(const Geometry& shape);

}  // namespace orlinths
