// The walk around a set of points as plainly as it can be told: every step looks at every point, in
// the order in which a cursor delivers them.
#pragma once

#include <cmath>
#include <optional>
#include <span>
#include <tuple>
#include <vector>
#include <set>

#include "numerics/Geometry.h"

namespace orlinths {

/// `quadrant` is 1 to 4: north-east, south-east, south-west, north-west.
inline Coord NextHullPointPlain(std::span<const Coord> points, const Envelope& extent,
                                const Coord& current, int quadrant) {
  const bool east = quadrant == 1 || quadrant == 2, north = quadrant == 1 || quadrant == 4;
  const double west = east ? current.x : extent.xMin, south = north ? current.y : extent.yMin;
  const double eastEnd = east ? extent.xMax : current.x, northEnd = north ? extent.yMax : current.y;
  bool hasSlope = false, hasVertical = false;
  double best = 0;
  Coord bestPoint{0, 0}, vertical{0, 0};
  for (const Coord& f : points) {
    if (!std::isfinite(f.x) || !std::isfinite(f.y)) continue;
    if (f.x < west || f.x > eastEnd || f.y < south || f.y > northEnd) continue;
    if (f.x == current.x && f.y == current.y) continue;
    if (current.x - f.x == 0) {
      if (quadrant == 1 || quadrant == 3) return f;
      vertical = f;
      hasVertical = true;
      continue;
    }
    const double slope = (current.y - f.y) / (current.x - f.x);
    if (!hasSlope || slope >= best) {
      hasSlope = true;
      best = slope;
      bestPoint = f;
    }
  }
  return hasSlope ? bestPoint : hasVertical ? vertical : Coord{0, 0};
}

/// The vertices from the first one on and back to it; nothing for points of which none is on the
/// west edge, and for a walk that never ends.
inline std::optional<std::vector<Coord>> HullPlain(std::span<const Coord> points) {
  Envelope e;
  for (const Coord& p : points)
    if (!std::isnan(p.x) && !std::isnan(p.y)) e.Add(p.x, p.y);
  const Coord* start = nullptr;
  for (const Coord& p : points)
    if (start == nullptr && p.x == e.xMin && std::isfinite(p.x) && std::isfinite(p.y)) start = &p;
  if (start == nullptr) return std::nullopt;

  std::vector<Coord> vertices{*start};
  std::set<std::tuple<double, double, int>> been;
  Coord c = *start;
  int q = c.y == e.yMax ? 2 : 1;
  do {
    if (!been.insert({c.x, c.y, q}).second) return std::nullopt;
    c = NextHullPointPlain(points, e, c, q);
    vertices.push_back(c);
    const bool atNorth = c.y == e.yMax, atEast = c.x == e.xMax, atSouth = c.y == e.yMin,
               atWest = c.x == e.xMin;
    if (q == 1 && atNorth) {
      q = atEast ? 3 : 2;
    } else if (q == 2 && atEast) {
      q = atSouth ? 4 : 3;
    } else if (q == 3 && atSouth) {
      q = atWest ? 1 : 4;
    } else if (q == 4 && atWest) {
      q = atNorth ? 2 : 1;
    }
  } while (!(c.x == start->x && c.y == start->y));
  return vertices;
}

}  // namespace orlinths
