// The operators of data/GeometryOperators.h on GEOS, and where plain arithmetic is enough, on that.
#include "data/GeometryOperators.h"

#include <algorithm>
#include <cmath>

#include "gdal/GeosGeometry.h"
#include "numerics/Nearest.h"
#include "numerics/PolygonLocator.h"
#include "numerics/SimpleRings.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

constexpr int kSegmentsPerQuarter = 32;

int DimensionOf(const Geometry& shape) {
  switch (shape.Type()) {
    case GeometryType::kPolygon:
      return 2;
    case GeometryType::kPolyline:
    case GeometryType::kLine:
      return 1;
    default:
      return 0;
  }
}

Geometry EmptyOf(int dimension) {
  if (dimension == 0) return Multipoint();
  if (dimension == 1) return Polyline();
  return Polygon();
}

// --- validity

bool RingsAreWhole(const Polygon& polygon) {
  for (int part = 0; part < polygon.PartCount(); ++part) {
    const auto ring = polygon.Part(part);
    if (ring.size() < 4 || !(ring.front() == ring.back())) return false;
  }
  return true;
}

bool NativeIsValid(const GeosScope& geos, NativeShape& native) {
  if (!native.isValid)
    native.isValid = geos.Answer(GEOSisValid_r(geos.Context(), native.shape.get()));
  return *native.isValid;
}

GeosPtr MadeValid(const GeosScope& geos, NativeShape& native) {
  if (NativeIsValid(geos, native))
    return geos.Own(GEOSGeom_clone_r(geos.Context(), native.shape.get()));
  return geos.Own(GEOSMakeValid_r(geos.Context(), native.shape.get()));
}

/// The repaired polygon, or nothing when there is nothing to repair.
std::optional<Polygon> Repaired(const Geometry& shape) {
  const Polygon* polygon = shape.As<Polygon>();
  if (polygon == nullptr || polygon->IsEmpty()) return std::nullopt;
  CheckStop();
  if (AreSurelySimple(*polygon)) return std::nullopt;  // a tenth of what the library takes
  const GeosScope geos;
  const auto native = NativeOf(geos, shape);
  if (RingsAreWhole(*polygon) && NativeIsValid(geos, *native)) return std::nullopt;
  return FromGeos(geos, *MadeValid(geos, *native), 2).AsPolygon();
}

/// Turns the ring that holds `first` so that it begins there. An outer ring goes to the front with
/// its holes.
Polygon BeginningAt(const Coord& first, const Polygon& polygon) {
  for (int part = 0; part < polygon.PartCount(); ++part) {
    const auto ring = polygon.Part(part);
    const auto found = std::ranges::find(ring, first);
    if (found == ring.end()) continue;

    std::vector<Coord> turned(ring.begin(), ring.end() - 1);
    std::ranges::rotate(turned, turned.begin() + (found - ring.begin()));
    turned.push_back(turned.front());
    const auto isHole = [&polygon](int i) { return SignedRingArea(polygon.Part(i)) < 0; };
    int end = part;
    if (!isHole(part))
      for (end = part + 1; end < polygon.PartCount() && isHole(end);) ++end;

    Polygon result;
    result.Reserve(polygon.PointCount(), polygon.PartCount());
    const auto add = [&](int i) { result.AddPart(i == part ? turned : polygon.Part(i)); };
    for (int i = part; i < end; ++i) add(i);
    for (int i = 0; i < polygon.PartCount(); ++i)
      if (i < part || i >= end) add(i);
    return result;
  }
  return polygon;
}

// --- two shapes

/// Calls `operation(a, b)`, which gives nothing on failure. Crossing rings are what GEOS's overlay
/// fails on: then once more with invalid polygons repaired.
template <class Operation>
GeosPtr Overlay(const GeosScope& geos, const Geometry& a, const Geometry& b, Operation operation) {
  const auto nativeA = NativeOf(geos, a);
  const auto nativeB = NativeOf(geos, b);
  if (GeosPtr result{operation(nativeA->shape.get(), nativeB->shape.get())}) return result;
  CheckStop();
  if (NativeIsValid(geos, *nativeA) && NativeIsValid(geos, *nativeB)) geos.Fail();
  const GeosPtr validA = MadeValid(geos, *nativeA);
  const GeosPtr validB = MadeValid(geos, *nativeB);
  return geos.Own(operation(validA.get(), validB.get()));
}

bool BoxesMeet(const Geometry& a, const Geometry& b) {
  return a.Envelope().Intersects(b.Envelope());
}

Geometry HighestParts(const GeosScope& geos, const GEOSGeometry& shape) {
  const int dimension = GEOSGeom_getDimensions_r(geos.Context(), &shape);
  return FromGeos(geos, shape, std::clamp(dimension, 0, 2));
}

}  // namespace

bool IsValid(const Geometry& shape) {
  if (shape.IsEmpty()) return true;
  if (const Polygon* polygon = shape.As<Polygon>(); polygon && !RingsAreWhole(*polygon))
    return false;
  const Envelope box = shape.Envelope();
  if (!std::isfinite(box.Width()) || !std::isfinite(box.Height())) return false;
  if (const Multipart* parts = shape.AsMultipart())
    for (const Coord& c : parts->Coords())
      if (std::isnan(c.x) || std::isnan(c.y)) return false;
  const GeosScope geos;
  return NativeIsValid(geos, *NativeOf(geos, shape));
}

Geometry Simplify(const Geometry& shape) {
  auto repaired = Repaired(shape);
  return repaired ? Geometry(std::move(*repaired)) : shape;
}

Geometry SimplifyPreserveFromTo(const Geometry& shape) {
  const auto repaired = Repaired(shape);
  return repaired ? Geometry(BeginningAt(shape.AsPolygon().Coords().front(), *repaired)) : shape;
}

Geometry Intersect(const Geometry& a, const Geometry& b, int dimension) {
  if (dimension < 0 || dimension > 2) throw RuntimeError(ErrorNumber::kInvalidCall);
  if (!BoxesMeet(a, b)) return EmptyOf(dimension);
  const GeosScope geos;
  const bool lineMeetsPolygon = DimensionOf(a) + DimensionOf(b) == 3;
  const auto intersection = [&](const GEOSGeometry* first,
                                const GEOSGeometry* second) -> GEOSGeometry* {
    if (dimension != 0 || !lineMeetsPolygon)
      return GEOSIntersection_r(geos.Context(), first, second);
    const bool firstIsPolygon = DimensionOf(a) == 2;
    const GeosPtr boundary =
        geos.Own(GEOSBoundary_r(geos.Context(), firstIsPolygon ? first : second));
    return GEOSIntersection_r(geos.Context(), firstIsPolygon ? second : first, boundary.get());
  };
  return FromGeos(geos, *Overlay(geos, a, b, intersection), dimension);
}

Geometry Union(const Geometry& a, const Geometry& b) {
  if (a.IsEmpty()) return b;
  if (b.IsEmpty()) return a;
  const GeosScope geos;
  return HighestParts(geos, *Overlay(geos, a, b, [&](const auto* first, const auto* second) {
                        return GEOSUnion_r(geos.Context(), first, second);
                      }));
}

Geometry Difference(const Geometry& a, const Geometry& b) {
  if (a.IsEmpty() || b.IsEmpty() || !BoxesMeet(a, b)) return a;
  const GeosScope geos;
  const GeosPtr rest = Overlay(geos, a, b, [&](const auto* first, const auto* second) {
    return GEOSDifference_r(geos.Context(), first, second);
  });
  return FromGeos(geos, *rest, DimensionOf(a));
}

Geometry ConvexHull(const Geometry& shape) {
  if (shape.IsEmpty()) return Polygon();
  const GeosScope geos;
  return HighestParts(
      geos, *geos.Own(GEOSConvexHull_r(geos.Context(), NativeOf(geos, shape)->shape.get())));
}

Polygon Buffer(const Geometry& shape, double distance) {
  if (!std::isfinite(distance)) throw RuntimeError(ErrorNumber::kInvalidCall);
  if (shape.IsEmpty()) return {};
  const GeosScope geos;
  const GeosPtr buffer = geos.Own(GEOSBuffer_r(geos.Context(), NativeOf(geos, shape)->shape.get(),
                                               distance, kSegmentsPerQuarter));
  return FromGeos(geos, *buffer, 2).AsPolygon();
}

// --- relations

bool Contains(const Geometry& outer, const Geometry& inner) {
  if (!BoxesMeet(outer, inner)) return false;
  const GeosScope geos;
  const auto nativeOuter = NativeOf(geos, outer);
  const auto nativeInner = NativeOf(geos, inner);
  if (const auto* prepared = PreparedOf(geos, *nativeOuter))
    return geos.Answer(GEOSPreparedContains_r(geos.Context(), prepared, nativeInner->shape.get()));
  return geos.Answer(
      GEOSContains_r(geos.Context(), nativeOuter->shape.get(), nativeInner->shape.get()));
}

bool Within(const Geometry& inner, const Geometry& outer) { return Contains(outer, inner); }

bool Intersects(const Geometry& a, const Geometry& b) {
  if (!BoxesMeet(a, b)) return false;
  const GeosScope geos;
  const auto nativeA = NativeOf(geos, a);
  const auto nativeB = NativeOf(geos, b);
  if (const auto* prepared = PreparedOf(geos, *nativeA))
    return geos.Answer(GEOSPreparedIntersects_r(geos.Context(), prepared, nativeB->shape.get()));
  if (const auto* prepared = PreparedOf(geos, *nativeB))
    return geos.Answer(GEOSPreparedIntersects_r(geos.Context(), prepared, nativeA->shape.get()));
  return geos.Answer(GEOSIntersects_r(geos.Context(), nativeA->shape.get(), nativeB->shape.get()));
}

bool Disjoint(const Geometry& a, const Geometry& b) { return !Intersects(a, b); }

bool CoversPoint(const Polygon& polygon, double x, double y) {
  return SideOfPolygon(polygon, x, y) != Side::kOutside;
}

// --- distances

namespace {

void CheckPlace(const Point& point) {
  if (point.IsEmpty()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  if (!std::isfinite(point.x) || !std::isfinite(point.y))
    throw RuntimeError(ErrorNumber::kInvalidCall);
}

}  // namespace

Point ReturnNearestPoint(const Geometry& shape, const Point& to) {
  CheckStop();
  if (shape.IsEmpty()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  CheckPlace(to);
  const Coord asked{to.x, to.y};
  Coord nearest = asked;
  if (const Point* point = shape.As<Point>()) {
    nearest = {point->x, point->y};
  } else if (const Multipoint* points = shape.As<Multipoint>()) {
    nearest = NearestPlace(*points, asked).at;
  } else if (const Polyline* line = shape.As<Polyline>()) {
    nearest = NearestPlace(*line, asked).at;
  } else if (const Polygon& polygon = shape.AsPolygon(); !CoversPoint(polygon, to.x, to.y)) {
    nearest = NearestPlace(polygon, asked).at;
  }
  return {.x = nearest.x, .y = nearest.y};
}

double ReturnDistance(const Geometry& a, const Geometry& b) {
  if (a.IsEmpty() || b.IsEmpty()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  for (const auto& [point, other] : {std::pair(b.As<Point>(), &a), std::pair(a.As<Point>(), &b)}) {
    if (point == nullptr) continue;
    const Point nearest = ReturnNearestPoint(*other, *point);
    return std::hypot(nearest.x - point->x, nearest.y - point->y);
  }
  const GeosScope geos;
  const auto nativeA = NativeOf(geos, a);
  const auto nativeB = NativeOf(geos, b);
  double distance = 0;
  geos.Check(GEOSPreparedDistance_r(geos.Context(), PreparedNow(geos, *nativeA),
                                    nativeB->shape.get(), &distance));
  return distance;
}

}  // namespace orlinths
