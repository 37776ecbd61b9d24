// Places along a polyline: the nearest one to a point, the piece between two distances.
#include <algorithm>

#include "numerics/Geometry.h"
#include "numerics/Nearest.h"

namespace orlinths {
namespace {

double Distance(const Coord& a, const Coord& b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  return std::sqrt(dx * dx + dy * dy);
}

/// The point a fraction t of the way from a to b, z and m included (NaN stays NaN).
Point Between(const Point& a, const Point& b, double t) {
  return {.x = a.x + t * (b.x - a.x),
          .y = a.y + t * (b.y - a.y),
          .z = a.z + t * (b.z - a.z),
          .m = a.m + t * (b.m - a.m)};
}

}  // namespace

std::int64_t Polyline::SplitAtPoint(const Point& p) {
  if (IsEmpty()) return -1;
  const PlaceOnShape place = NearestPlace(*this, {p.x, p.y});
  if (place.fraction <= 0) return place.segment;
  if (place.fraction >= 1) return place.segment + 1;

  const auto at = static_cast<std::size_t>(place.segment) + 1;
  const Point split = Between(PointAt(place.segment), PointAt(place.segment + 1), place.fraction);
  Changed();
  const auto offset = static_cast<std::ptrdiff_t>(at);
  if (HasZ()) z_.insert(z_.begin() + offset, split.z);
  if (HasM()) m_.insert(m_.begin() + offset, split.m);
  coords_.insert(coords_.begin() + offset, place.at);
  for (std::int32_t& start : starts_)
    if (static_cast<std::size_t>(start) >= at) ++start;
  return static_cast<std::int64_t>(at);
}

Polyline Polyline::GetSubcurve(double from, double to) const {
  if (!(from <= to)) throw RuntimeError(ErrorNumber::kInvalidCall);
  Polyline piece;
  if (from == to) return piece;
  double before = 0;  // length of all segments up to the one in hand
  for (int part = 0; part < PartCount() && before < to; ++part) {
    bool isOpen = false;  // whether the piece has begun in this part
    for (std::int64_t i = PartStart(part) + 1; i < PartStart(part + 1) && before < to; ++i) {
      const auto at = static_cast<std::size_t>(i);
      const double length = Distance(coords_[at - 1], coords_[at]);
      const double after = before + length;
      // Whoever adds up the segments in order and cuts at such a sum meets the vertex itself.
      if (after > from || (isOpen && after >= from)) {
        if (!isOpen) {
          isOpen = true;
          piece.AddPart();
          const bool atVertex = before >= from;
          piece.AddPoint(atVertex ? PointAt(i - 1)
                                  : Between(PointAt(i - 1), PointAt(i), (from - before) / length));
        }
        piece.AddPoint(after <= to ? PointAt(i)
                                   : Between(PointAt(i - 1), PointAt(i), (to - before) / length));
      }
      before = after;
    }
  }
  return piece;
}

}  // namespace orlinths
