// Where a point lies with regard to the rings of a polygon, decided exactly.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "numerics/Geometry.h"

namespace orlinths {

/// Sign of the turn a, b, c: positive to the left, negative to the right, 0 for three points on one
/// line. Exact for all finite coordinates whose products do not leave the range of a double
/// (Shewchuk 1997).
int TurnSign(const Coord& a, const Coord& b, const Coord& c);

enum class Side { kOutside, kBoundary, kInside };

/// The plain way: even-odd over all rings, O(vertices). An open ring counts as closed. A point that
/// is not finite is outside.
Side SideOfPolygon(const Multipart& rings, double x, double y);

/// The same answers for polygons of finite coordinates, faster for points asked again and again.
/// Refers to the polygon, which must stay where and as it is. Build O(vertices), in a third of the
/// polygon's own memory; a question O(log vertices + runs of eight segments whose box holds the
/// point).
///
/// A tree of boxes over runs of consecutive segments. A run wholly to the right of the point need
/// not be opened: an unbroken line crosses the point's eastward ray an odd number of times if and
/// only if its two ends lie on different sides of it.
class PolygonLocator {
 public:
  explicit PolygonLocator(const Multipart& rings);

  Side Locate(double x, double y) const;
  /// With regard to one ring alone.
  Side LocateInRing(int ring, double x, double y) const;

 private:
  static constexpr std::size_t kRun = 8;
  struct Ring {
    std::span<const Coord> points;
    std::size_t firstLevel, levelCount;  // in levels_
  };
  struct Walk;
  void Visit(const Ring& ring, std::size_t level, std::size_t index, Walk& walk) const;

  std::vector<Ring> rings_;
  std::vector<std::size_t>
      levels_;  // where each level's boxes begin; level 0: runs of kRun segments
  std::vector<Envelope> boxes_;
  std::vector<Envelope> ringGroups_;  // one box per kRun rings
};

}  // namespace orlinths
