#include "numerics/PolygonLocator.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace orlinths {
namespace {

// --- the exact sign

struct Pair {
  double high, low;
};

Pair TwoSum(double a, double b) {
  const double sum = a + b;
  const double bPart = sum - a;
  return {sum, (a - (sum - bPart)) + (b - bPart)};
}

Pair TwoProduct(double a, double b) {
  const double product = a * b;
  return {product, std::fma(a, b, -product)};  // correctly rounded in hardware and in software
}

/// Sign of the exact sum of `terms`: each is added to an expansion of components that do not
/// overlap, whose last nonzero one has the sign of the whole.
template <std::size_t N>
int SignOfSum(const std::array<double, N>& terms) {
  std::array<double, N> expansion{};
  std::size_t size = 0;
  for (const double term : terms) {
    double carry = term;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const Pair sum = TwoSum(carry, expansion[i]);
      carry = sum.high;
      if (sum.low != 0) expansion[kept++] = sum.low;
    }
    if (carry != 0) expansion[kept++] = carry;
    size = kept;
  }
  if (size == 0) return 0;
  return expansion[size - 1] > 0 ? 1 : -1;
}

int ExactTurnSign(const Coord& a, const Coord& b, const Coord& c) {
  const Pair terms[] = {TwoProduct(a.x, b.y),  TwoProduct(-a.y, b.x), TwoProduct(b.x, c.y),
                        TwoProduct(-b.y, c.x), TwoProduct(c.x, a.y),  TwoProduct(-c.y, a.x)};
  std::array<double, 12> all{};
  for (std::size_t i = 0; i < 6; ++i) {
    all[2 * i] = terms[i].low;
    all[2 * i + 1] = terms[i].high;
  }
  return SignOfSum(all);
}

// --- one segment against the point

/// Whether the segment crosses the ray from (x, y) to the east (half open: a vertex on the ray
/// counts as above it or below it, the same for both its segments), and whether the point is on the
/// segment.
struct Crossing {
  bool crosses = false;
  bool onSegment = false;
};

Crossing Cross(const Coord& a, const Coord& b, double x, double y) {
  if ((a.y <= y) == (b.y <= y)) {
    if (a.x == x && a.y == y) return {.onSegment = true};
    if (b.x == x && b.y == y) return {.onSegment = true};
    const bool alongRay = a.y == y && b.y == y;
    return {.onSegment = alongRay && (a.x <= x) != (b.x <= x)};
  }
  if (a.x < x && b.x < x) return {};
  if (a.x > x && b.x > x) return {.crosses = true};
  const int turn = TurnSign(a, b, {x, y});
  if (turn == 0) return {.onSegment = true};
  return {.crosses = (turn > 0) == (b.y > a.y)};
}

struct Parity {
  bool isOdd = false;
  bool onBoundary = false;

  void Take(const Coord& a, const Coord& b, double x, double y) {
    const Crossing crossing = Cross(a, b, x, y);
    isOdd ^= crossing.crosses;
    onBoundary |= crossing.onSegment;
  }
  Side Answer() const {
    return onBoundary ? Side::kBoundary : isOdd ? Side::kInside : Side::kOutside;
  }
};

std::size_t SegmentCount(std::span<const Coord> ring) {
  if (ring.empty()) return 0;
  const bool isClosed = ring.size() > 1 && ring.front() == ring.back();
  return isClosed ? ring.size() - 1 : ring.size();
}

const Coord& EndOfSegment(std::span<const Coord> ring, std::size_t i) {
  return i + 1 < ring.size() ? ring[i + 1] : ring.front();
}

}  // namespace

int TurnSign(const Coord& a, const Coord& b, const Coord& c) {
  const double left = (a.x - c.x) * (b.y - c.y);
  const double right = (a.y - c.y) * (b.x - c.x);
  const double turn = left - right;
  // Beyond this bound on the rounding of the five differences and products the sign is safe.
  constexpr double kBound = 3.3306690738754716e-16;
  if (std::abs(turn) > kBound * (std::abs(left) + std::abs(right))) return turn > 0 ? 1 : -1;
  return ExactTurnSign(a, b, c);
}

Side SideOfPolygon(const Multipart& rings, double x, double y) {
  if (!std::isfinite(x) || !std::isfinite(y)) return Side::kOutside;
  Parity parity;
  for (int part = 0; part < rings.PartCount() && !parity.onBoundary; ++part) {
    const auto ring = rings.Part(part);
    const std::size_t segments = SegmentCount(ring);
    for (std::size_t i = 0; i < segments; ++i) parity.Take(ring[i], EndOfSegment(ring, i), x, y);
  }
  return parity.Answer();
}

// --- PolygonLocator

struct PolygonLocator::Walk {
  double x, y;
  Parity parity;
};

PolygonLocator::PolygonLocator(const Multipart& rings) {
  rings_.reserve(static_cast<std::size_t>(rings.PartCount()));
  for (int part = 0; part < rings.PartCount(); ++part) {
    Ring ring{.points = rings.Part(part), .firstLevel = levels_.size(), .levelCount = 0};
    std::size_t count = SegmentCount(ring.points);
    std::size_t below = 0;
    while (count > 0 && (ring.levelCount == 0 || count > 1)) {
      const std::size_t runs = (count + kRun - 1) / kRun;
      const std::size_t begin = boxes_.size();
      for (std::size_t run = 0; run < runs; ++run) {
        Envelope box;
        for (std::size_t i = run * kRun; i < std::min((run + 1) * kRun, count); ++i) {
          if (ring.levelCount == 0) {
            const Coord& end = EndOfSegment(ring.points, i);
            box.Add(ring.points[i].x, ring.points[i].y);
            box.Add(end.x, end.y);
          } else {
            box.Add(boxes_[below + i]);
          }
        }
        boxes_.push_back(box);
      }
      levels_.push_back(begin);
      ++ring.levelCount;
      below = begin;
      count = runs;
    }
    if (rings_.size() % kRun == 0) ringGroups_.emplace_back();
    if (ring.levelCount > 0) ringGroups_.back().Add(boxes_.back());
    rings_.push_back(ring);
  }
}

void PolygonLocator::Visit(const Ring& ring, std::size_t level, std::size_t index,
                           Walk& walk) const {
  const Envelope& box = boxes_[levels_[ring.firstLevel + level] + index];
  if (!(box.yMin <= walk.y && walk.y <= box.yMax && walk.x <= box.xMax)) return;

  const std::size_t segments = SegmentCount(ring.points);
  if (walk.x < box.xMin) {
    std::size_t span = kRun;
    for (std::size_t i = 0; i < level; ++i) span *= kRun;
    const Coord& first = ring.points[index * span];
    const Coord& last = EndOfSegment(ring.points, std::min((index + 1) * span, segments) - 1);
    walk.parity.isOdd ^= (first.y <= walk.y) != (last.y <= walk.y);
    return;
  }
  if (level == 0) {
    const std::size_t end = std::min((index + 1) * kRun, segments);
    for (std::size_t i = index * kRun; i < end; ++i)
      walk.parity.Take(ring.points[i], EndOfSegment(ring.points, i), walk.x, walk.y);
    return;
  }
  const std::size_t below = levels_[ring.firstLevel + level - 1];
  const std::size_t belowCount = levels_[ring.firstLevel + level] - below;
  const std::size_t end = std::min((index + 1) * kRun, belowCount);
  for (std::size_t child = index * kRun; child < end && !walk.parity.onBoundary; ++child)
    Visit(ring, level - 1, child, walk);
}

Side PolygonLocator::LocateInRing(int ring, double x, double y) const {
  const Ring& asked = rings_[static_cast<std::size_t>(ring)];
  if (asked.levelCount == 0 || !std::isfinite(x) || !std::isfinite(y)) return Side::kOutside;
  Walk walk{.x = x, .y = y, .parity = {}};
  Visit(asked, asked.levelCount - 1, 0, walk);
  return walk.parity.Answer();
}

Side PolygonLocator::Locate(double x, double y) const {
  if (!std::isfinite(x) || !std::isfinite(y)) return Side::kOutside;
  Walk walk{.x = x, .y = y, .parity = {}};
  for (std::size_t group = 0; group < ringGroups_.size(); ++group) {
    // A closed ring that does not hold the point in its box is crossed an even number of times.
    if (!ringGroups_[group].Contains(x, y)) continue;
    const std::size_t end = std::min((group + 1) * kRun, rings_.size());
    for (std::size_t i = group * kRun; i < end; ++i) {
      if (rings_[i].levelCount > 0) Visit(rings_[i], rings_[i].levelCount - 1, 0, walk);
      if (walk.parity.onBoundary) return Side::kBoundary;
    }
  }
  return walk.parity.Answer();
}

}  // namespace orlinths
