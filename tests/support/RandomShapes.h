// Random polygons and lines for property tests.
#pragma once

#include "numerics/Geometry.h"
#include "support/Seeded.h"

namespace orlinths {

struct PolygonKind {
  int parts = 1;
  int holes = 0;        ///< in each part
  int vertices = 12;    ///< of each outer ring; at least five; holes have half as many
  bool onGrid = false;  ///< whole coordinates, so that points on vertices and edges are easily hit
  double size = 1000;   ///< parts lie in squares of this side, side by side
};

/// A valid polygon: star-shaped outer rings, clockwise, each followed by its holes,
/// counter-clockwise; parts and holes do not touch. On the grid rings may touch themselves: such a
/// polygon need not be valid.
Polygon RandomPolygon(Seeded& random, const PolygonKind& kind = {});

/// A line of `parts` parts with `points` points each, within [0, size) x [0, size).
Polyline RandomLine(Seeded& random, int parts, int points, double size = 1000);

}  // namespace orlinths
