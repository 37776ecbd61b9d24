#include "numerics/RingOrder.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace orlinths {
namespace {

struct Ring {
  std::span<const Coord> coords;
  Envelope box;
  double area;
};

enum class Side { kInside, kOutside, kOnBoundary };

/// Crossing count of a ray to the right; the ring may be open or closed.
Side SideOf(const Coord& p, std::span<const Coord> ring) {
  bool inside = false;
  Coord a = ring.back();
  for (const Coord& b : ring) {
    const double cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
    if (cross == 0 && p.x >= std::min(a.x, b.x) && p.x <= std::max(a.x, b.x) &&
        p.y >= std::min(a.y, b.y) && p.y <= std::max(a.y, b.y))
      return Side::kOnBoundary;
    if ((a.y > p.y) != (b.y > p.y) && (cross > 0) == (b.y > a.y)) inside = !inside;
    a = b;
  }
  return inside ? Side::kInside : Side::kOutside;
}

bool LiesIn(const Ring& inner, const Ring& outer) {
  for (const Coord& p : inner.coords) {
    const Side side = SideOf(p, outer.coords);
    if (side != Side::kOnBoundary) return side == Side::kInside;
  }
  // Every vertex touches the other ring: an edge's middle decides.
  for (std::size_t i = 1; i < inner.coords.size(); ++i) {
    const Coord &a = inner.coords[i - 1], &b = inner.coords[i];
    const Side side = SideOf({(a.x + b.x) / 2, (a.y + b.y) / 2}, outer.coords);
    if (side != Side::kOnBoundary) return side == Side::kInside;
  }
  return false;
}

}  // namespace

std::vector<int> ShellsOfRings(const Polygon& polygon) {
  const int count = polygon.PartCount();
  std::vector<int> shells(static_cast<std::size_t>(count), -1);
  if (count < 2) return shells;

  std::vector<Ring> rings;
  rings.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Ring ring{polygon.Part(i), {}, 0};
    for (const Coord& p : ring.coords) ring.box.Add(p.x, p.y);
    ring.area = std::abs(SignedRingArea(ring.coords));
    rings.push_back(ring);
  }
  // From left to right: whatever contains a ring begins no later than the ring itself.
  std::vector<std::size_t> order(rings.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    if (rings[a].box.xMin != rings[b].box.xMin) return rings[a].box.xMin < rings[b].box.xMin;
    if (rings[a].area != rings[b].area) return rings[a].area > rings[b].area;
    return a < b;
  });
  std::vector<std::size_t> open;
  for (const std::size_t i : order) {
    const Ring& ring = rings[i];
    std::erase_if(open, [&](std::size_t j) { return rings[j].box.xMax < ring.box.xMin; });
    bool hole = false;
    std::size_t innermost = i;
    for (const std::size_t j : open) {
      const Ring& other = rings[j];
      if (other.area > ring.area && other.box.xMax >= ring.box.xMax &&
          other.box.yMin <= ring.box.yMin && other.box.yMax >= ring.box.yMax &&
          LiesIn(ring, other)) {
        hole = !hole;
        if (innermost == i || other.area < rings[innermost].area) innermost = j;
      }
    }
    if (hole) shells[i] = static_cast<int>(innermost);
    if (!ring.coords.empty()) open.push_back(i);
  }
  return shells;
}

std::vector<bool> HoleFlags(const Polygon& polygon) {
  std::vector<bool> isHole;
  for (const int shell : ShellsOfRings(polygon)) isHole.push_back(shell >= 0);
  return isHole;
}

}  // namespace orlinths
