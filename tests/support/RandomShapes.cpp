#include "support/RandomShapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace orlinths {
namespace {

struct Circle {
  double x, y, inner, outer;
};

/// A ring between the two radii, clockwise or not, closed.
std::vector<Coord> Star(Seeded& random, const Circle& in, int vertices, bool clockwise,
                        bool onGrid) {
  std::vector<Coord> ring;
  for (int i = 0; i < vertices; ++i) {
    const double turn = (i + random.Real(0.1, 0.9)) / vertices * 2 * std::numbers::pi;
    const double radius = random.Real(in.inner, in.outer);
    Coord at{in.x + radius * std::cos(turn), in.y + radius * std::sin(turn)};
    if (onGrid) at = {std::round(at.x), std::round(at.y)};
    ring.push_back(at);
  }
  if (clockwise) std::ranges::reverse(ring);
  ring.push_back(ring.front());
  return ring;
}

}  // namespace

Polygon RandomPolygon(Seeded& random, const PolygonKind& kind) {
  Polygon polygon;
  const double half = kind.size / 2;
  // With few vertices an edge comes closer to the centre than both its ends.
  const double inner = 0.6 * half;
  const double kept = inner * std::cos(std::numbers::pi * 0.9 * 2 / std::max(kind.vertices, 5));
  for (int part = 0; part < kind.parts; ++part) {
    const Circle at{half + part * kind.size, half, inner, 0.98 * half};
    polygon.AddPart(Star(random, at, std::max(kind.vertices, 5), true, kind.onGrid));
    // Holes lie round the centre, each in a circle of its own, clear of the outer ring.
    const double reach = std::max(kept, 0.0) * 0.9;
    for (int hole = 0; hole < kind.holes; ++hole) {
      const double wedge = std::numbers::pi / std::max(kind.holes, 2);
      const double turn = 2 * std::numbers::pi * hole / std::max(kind.holes, 1);
      const double radius = reach * std::sin(wedge) / (1 + std::sin(wedge)) * 0.95;
      const double away = kind.holes == 1 ? 0 : reach - radius;
      const Circle in{at.x + away * std::cos(turn), at.y + away * std::sin(turn), radius / 2,
                      radius};
      polygon.AddPart(Star(random, in, std::max(kind.vertices / 2, 5), false, kind.onGrid));
    }
  }
  return polygon;
}

Polyline RandomLine(Seeded& random, int parts, int points, double size) {
  Polyline line;
  for (int part = 0; part < parts; ++part) {
    line.AddPart();
    for (int i = 0; i < points; ++i) line.AddPoint(random.Real(0, size), random.Real(0, size));
  }
  return line;
}

}  // namespace orlinths
