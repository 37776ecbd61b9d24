#include "numerics/SimpleRings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace orlinths {
namespace {

// What rounding can do to the difference (the sum) of two products of differences, in parts of
// their sum (Shewchuk 1997, the first filter of orient2d), and what a product that underflows can
// lose.
constexpr double kRounding = 4e-16;
constexpr double kUnderflow = 1e-290;

/// The sign of `a - b`, or 0 where it is not certain; NaN and infinity are never certain.
int SureSign(double a, double b) {
  const double difference = a - b;
  const double doubt = kRounding * (std::abs(a) + std::abs(b)) + kUnderflow;
  return difference > doubt ? 1 : difference < -doubt ? -1 : 0;
}

/// On which side of the line from a to b p lies: 1 left, -1 right, 0 not certain.
int SureSide(const Coord& a, const Coord& b, const Coord& p) {
  return SureSign((b.x - a.x) * (p.y - a.y), (b.y - a.y) * (p.x - a.x));
}

struct Segment {
  Coord from, to;
  double xMin, xMax, yMin, yMax;
  std::int64_t before, place;  ///< in the order of all: its predecessor's place, and its own
};

bool LieOnOneSide(const Segment& line, const Segment& other) {
  const int side = SureSide(line.from, line.to, other.from);
  return side != 0 && side == SureSide(line.from, line.to, other.to);
}

bool AreSurelyApart(const Segment& a, const Segment& b) {
  return LieOnOneSide(a, b) || LieOnOneSide(b, a);
}

/// Of a segment and the one that follows it: they part at their vertex and never meet again, by a
/// turn to one side or by going on ahead.
bool SurelyPart(const Segment& first, const Segment& second) {
  const Coord &a = first.from, &b = first.to, &c = second.to;
  if (SureSide(a, b, c) != 0) return true;
  return SureSign((b.x - a.x) * (c.x - b.x), -((b.y - a.y) * (c.y - b.y))) > 0;
}

/// The segments of all rings; none when a ring is open, too short or not finite.
std::vector<Segment> SegmentsOf(const Polygon& rings) {
  std::vector<Segment> segments;
  segments.reserve(static_cast<std::size_t>(rings.PointCount()));
  for (int part = 0; part < rings.PartCount(); ++part) {
    const auto ring = rings.Part(part);
    if (ring.size() < 4 || !(ring.front() == ring.back())) return {};
    const auto first = static_cast<std::int64_t>(segments.size());
    const auto count = static_cast<std::int64_t>(ring.size()) - 1;
    for (std::int64_t i = 0; i < count; ++i) {
      const Coord &a = ring[static_cast<std::size_t>(i)],
                  &b = ring[static_cast<std::size_t>(i) + 1];
      if (!std::isfinite(a.x) || !std::isfinite(a.y)) return {};
      segments.push_back({a, b, std::min(a.x, b.x), std::max(a.x, b.x), std::min(a.y, b.y),
                          std::max(a.y, b.y), first + (i == 0 ? count : i) - 1, first + i});
    }
  }
  return segments;
}

}  // namespace

bool AreSurelySimple(const Polygon& rings) {
  std::vector<Segment> segments = SegmentsOf(rings);
  if (segments.empty()) return false;
  std::ranges::sort(segments, {}, &Segment::xMin);
  // Enough for rings as they are drawn and digitised; a comb of long teeth is left to others.
  std::int64_t pairs = 64 * std::ssize(segments);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const Segment& a = segments[i];
    for (std::size_t j = i + 1; j < segments.size() && segments[j].xMin <= a.xMax; ++j) {
      if (--pairs < 0) return false;
      const Segment& b = segments[j];
      if (b.yMin > a.yMax || b.yMax < a.yMin) continue;
      const bool isGood = a.place == b.before   ? SurelyPart(a, b)
                          : b.place == a.before ? SurelyPart(b, a)
                                                : AreSurelyApart(a, b);
      if (!isGood) return false;
    }
  }
  return true;
}

}  // namespace orlinths
