// Distances in the plane and points on a ray. No spatial reference is consulted.
#pragma once

#include <cmath>
#include <optional>

#include "numerics/Geometry.h"

namespace orlinths {

/// Euclidean distance of two coordinate pairs. The loops that call it run over all pairs, so
/// nothing is checked: NaN for an empty point, infinite where the squares are.
inline double DistCoords(double x1, double y1, double x2, double y2) {
  const double dx = x1 - x2;
  const double dy = y1 - y2;
  return std::sqrt(dx * dx + dy * dy);
}
inline double DistPoints(const Point& a, const Point& b) { return DistCoords(a.x, a.y, b.x, b.y); }

/// The point at `distance` from `start` on the ray through `toward`, and beyond that point if the
/// distance is longer; due north when the two coincide. Nothing after an error report (an empty
/// point, a value that is not finite).
std::optional<Point> GetPntAlongPath(const Point& start, const Point& toward, double distance);

}  // namespace orlinths
