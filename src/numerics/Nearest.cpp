#include "numerics/Nearest.h"

#include <algorithm>

namespace orlinths {
namespace {

double Squared(const Coord& a, const Coord& b) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  return dx * dx + dy * dy;
}

struct Best {
  double squared = std::numeric_limits<double>::infinity();
  PlaceOnShape place;

  void Offer(std::int64_t segment, double fraction, const Coord& at, const Coord& to) {
    const double d = Squared(at, to);
    if (!(d < squared) && !(place.segment < 0 && !std::isnan(d))) return;
    squared = d;
    place = {.segment = segment, .fraction = fraction, .at = at, .distance = 0};
  }

  PlaceOnShape Result(const Coord& to) {
    if (place.segment < 0) throw RuntimeError(ErrorNumber::kInvalidCall);
    place.distance = std::hypot(place.at.x - to.x, place.at.y - to.y);
    return place;
  }
};

/// Each segment's nearest place; a vertex that two segments share is offered by the first of them.
void OfferSegment(std::int64_t segment, const Coord& a, const Coord& b, const Coord& to,
                  Best& best) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double along = (to.x - a.x) * dx + (to.y - a.y) * dy;
  const double length2 = dx * dx + dy * dy;
  if (!(along > 0)) {
    best.Offer(segment, 0, a, to);
  } else if (!(along < length2)) {
    best.Offer(segment, 1, b, to);
  } else {
    const double t = along / length2;
    const Coord at{a.x + t * dx, a.y + t * dy};
    // Rounding may land on a vertex: then it is that vertex.
    best.Offer(segment, at == a ? 0 : at == b ? 1 : t, at, to);
  }
}

PlaceOnShape NearestOnSegments(const Multipart& shape, const Coord& to) {
  Best best;
  const auto coords = shape.Coords();
  for (int part = 0; part < shape.PartCount(); ++part) {
    const auto begin = static_cast<std::size_t>(shape.PartStart(part));
    const auto end = static_cast<std::size_t>(shape.PartStart(part + 1));
    if (end - begin == 1) best.Offer(static_cast<std::int64_t>(begin), 0, coords[begin], to);
    for (std::size_t i = begin; i + 1 < end; ++i)
      OfferSegment(static_cast<std::int64_t>(i), coords[i], coords[i + 1], to, best);
  }
  return best.Result(to);
}

}  // namespace

PlaceOnShape NearestPlace(const Polyline& line, const Coord& to) {
  return NearestOnSegments(line, to);
}

PlaceOnShape NearestPlace(const Polygon& rings, const Coord& to) {
  return NearestOnSegments(rings, to);
}

PlaceOnShape NearestPlace(const Multipoint& points, const Coord& to) {
  Best best;
  const auto coords = points.Coords();
  for (std::size_t i = 0; i < coords.size(); ++i)
    best.Offer(static_cast<std::int64_t>(i), 0, coords[i], to);
  return best.Result(to);
}

}  // namespace orlinths
