// Shapes as text, for tests: read and written without a library.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "numerics/Geometry.h"

namespace orlinths {

/// "POINT(1 2)", "MULTIPOINT(1 2, 3 4)", "LINESTRING(0 0, 1 1)", "MULTILINESTRING((0 0, 1 1), (2 2,
/// 3 3))", "POLYGON((0 0, 0 4, 4 4, 0 0))", "MULTIPOLYGON(((...), (...)), ((...)))", each also with
/// "EMPTY"; a third number is z, a fourth m; "NULL" is no shape. Rings stand in the order and
/// direction written. What does not read fails the test and gives no shape.
Geometry Wkt(std::string_view text);
Point WktPoint(std::string_view text);
Polyline WktLine(std::string_view text);
Polygon WktPolygon(std::string_view text);

/// The inverse. A polygon of several rings is one "POLYGON" whatever its rings are; numbers have 17
/// digits at most, so that reading gives the same bits.
std::string AsWkt(const Geometry& shape);

/// What GoogleTest prints.
void PrintTo(const Geometry& shape, std::ostream* out);
void PrintTo(const Point& point, std::ostream* out);
void PrintTo(const Polyline& line, std::ostream* out);
void PrintTo(const Polygon& polygon, std::ostream* out);

}  // namespace orlinths
