#include "gdal/OgrShapes.h"

#include <type_traits>

#include "numerics/ShapeBuilder.h"

namespace orlinths {
namespace {

static_assert(sizeof(Coord) == sizeof(OGRRawPoint) && std::is_trivially_copyable_v<Coord>);

/// Gathers the parts of one shape.
class Parts {
 public:
  explicit Parts(RingDirection direction) : direction_(direction) {}

  void Add(const OGRSimpleCurve& curve) {
    const int count = curve.getNumPoints();
    const auto into = builder_.AddPart(static_cast<std::size_t>(count), curve.Is3D() != FALSE,
                                       curve.IsMeasured() != FALSE);
    if (count == 0) return;
    // Into the array itself: the layouts agree.
    curve.getPoints(&into.coords->x, sizeof(Coord), &into.coords->y, sizeof(Coord), into.z,
                    sizeof(double), into.m, sizeof(double));
  }
  void Add(const OGRPoint& p) {
    if (p.IsEmpty()) return;
    builder_.AddPoint(p.getX(), p.getY(), p.Is3D() ? p.getZ() : Point::kNone,
                      p.IsMeasured() ? p.getM() : Point::kNone);
  }
  void Add(const OGRPolygon& polygon) {
    if (const OGRLinearRing* shell = polygon.getExteriorRing()) AddRing(*shell, true);
    for (int i = 0; i < polygon.getNumInteriorRings(); ++i)
      AddRing(*polygon.getInteriorRing(i), false);
  }
  /// Members of another type than `type` are left out.
  void AddMembers(const OGRGeometryCollection& collection, GeometryType type) {
    for (const OGRGeometry* member : collection) AddAny(*member, type);
  }
  void AddAny(const OGRGeometry& shape, GeometryType type) {
    switch (wkbFlatten(shape.getGeometryType())) {
      case wkbPoint:
        if (type == GeometryType::kMultipoint) Add(*shape.toPoint());
        break;
      case wkbLineString:
        if (type == GeometryType::kPolyline) Add(*shape.toLineString());
        break;
      case wkbPolygon:
      case wkbTriangle:
        if (type == GeometryType::kPolygon) Add(*shape.toPolygon());
        break;
      case wkbMultiPoint:
      case wkbMultiLineString:
      case wkbMultiPolygon:
      case wkbGeometryCollection:
        AddMembers(*shape.toGeometryCollection(), type);
        break;
      case wkbPolyhedralSurface:
      case wkbTIN:
        for (const auto* patch : *shape.toPolyhedralSurface()) AddAny(*patch, type);
        break;
      default:
        break;
    }
  }
  Geometry Take(GeometryType type) { return builder_.Take(type); }

 private:
  void AddRing(const OGRLinearRing& ring, bool isShell) {
    Add(ring);
    if (direction_ == RingDirection::kByRole) builder_.TurnRing(isShell);
  }

  RingDirection direction_;
  ShapeBuilder builder_;
};

GeometryType TypeOf(const OGRGeometry& shape) {
  if (wkbFlatten(shape.getGeometryType()) != wkbGeometryCollection)
    return PlainType(shape.getGeometryType());
  for (const OGRGeometry* member : *shape.toGeometryCollection()) {
    const GeometryType type = TypeOf(*member);
    if (type == GeometryType::kPoint) return GeometryType::kMultipoint;
    if (type != GeometryType::kNull) return type;
  }
  return GeometryType::kNull;
}

Point ToPlain(const OGRPoint& p) {
  Point point;
  if (p.IsEmpty()) return point;
  point.x = p.getX();
  point.y = p.getY();
  if (p.Is3D()) point.z = p.getZ();
  if (p.IsMeasured()) point.m = p.getM();
  return point;
}

void Fill(OGRSimpleCurve& curve, const Multipart& shape, int part) {
  const auto coords = shape.Part(part);
  const auto begin = static_cast<std::size_t>(shape.PartStart(part));
  curve.setNumPoints(static_cast<int>(coords.size()), FALSE);
  for (std::size_t i = 0; i < coords.size(); ++i) {
    const int at = static_cast<int>(i);
    curve.setPoint(at, coords[i].x, coords[i].y);
    if (shape.HasZ()) curve.setZ(at, shape.Z()[begin + i]);
    if (shape.HasM()) curve.setM(at, shape.M()[begin + i]);
  }
}

std::unique_ptr<OGRPoint> ToOgrPoint(const Point& p) {
  auto point = std::make_unique<OGRPoint>();
  if (p.IsEmpty()) return point;
  point->setX(p.x);
  point->setY(p.y);
  if (!std::isnan(p.z)) point->setZ(p.z);
  if (!std::isnan(p.m)) point->setM(p.m);
  return point;
}

std::unique_ptr<OGRGeometry> ToOgrPolygon(const Polygon& polygon) {
  std::vector<OGRGeometry*> rings;  // each a polygon of one ring; taken over by the call
  for (int part = 0; part < polygon.PartCount(); ++part) {
    auto ring = std::make_unique<OGRLinearRing>();
    Fill(*ring, polygon, part);
    ring->closeRings();
    auto* single = new OGRPolygon;
    single->addRingDirectly(ring.release());
    rings.push_back(single);
  }
  if (rings.empty()) return std::make_unique<OGRPolygon>();
  return std::unique_ptr<OGRGeometry>(OGRGeometryFactory::organizePolygons(
      rings.data(), static_cast<int>(rings.size()), nullptr, nullptr));
}

}  // namespace

GeometryType PlainType(OGRwkbGeometryType type) {
  switch (wkbFlatten(OGR_GT_GetLinear(type))) {
    case wkbPoint:
      return GeometryType::kPoint;
    case wkbMultiPoint:
      return GeometryType::kMultipoint;
    case wkbLineString:
    case wkbMultiLineString:
    case wkbCurve:
      return GeometryType::kPolyline;
    case wkbPolygon:
    case wkbMultiPolygon:
    case wkbSurface:
    case wkbTriangle:
    case wkbPolyhedralSurface:
    case wkbTIN:
      return GeometryType::kPolygon;
    default:
      return GeometryType::kNull;
  }
}

Geometry ToPlain(const OGRGeometry* shape, RingDirection direction) {
  if (shape == nullptr) return {};
  if (wkbFlatten(shape->getGeometryType()) == wkbPoint) return ToPlain(*shape->toPoint());
  std::unique_ptr<OGRGeometry> linear;
  if (shape->hasCurveGeometry()) {
    linear.reset(shape->getLinearGeometry());
    shape = linear.get();
  }
  Parts parts(direction);
  const GeometryType type = TypeOf(*shape);
  parts.AddAny(*shape, type);
  return parts.Take(type);
}

std::unique_ptr<OGRGeometry> ToOgr(const Geometry& shape, OGRwkbGeometryType wanted) {
  std::unique_ptr<OGRGeometry> made;
  if (const auto* point = shape.As<Point>()) {
    made = ToOgrPoint(*point);
  } else if (const auto* points = shape.As<Multipoint>()) {
    auto multi = std::make_unique<OGRMultiPoint>();
    for (std::int64_t i = 0; i < points->PointCount(); ++i)
      multi->addGeometryDirectly(ToOgrPoint(points->PointAt(i)).release());
    made = std::move(multi);
  } else if (const auto* line = shape.As<Polyline>()) {
    auto multi = std::make_unique<OGRMultiLineString>();
    for (int part = 0; part < line->PartCount(); ++part) {
      auto curve = std::make_unique<OGRLineString>();
      Fill(*curve, *line, part);
      multi->addGeometryDirectly(curve.release());
    }
    made = std::move(multi);
  } else if (const auto* polygon = shape.As<Polygon>()) {
    made = ToOgrPolygon(*polygon);
  }
  if (!made) return nullptr;
  const OGRwkbGeometryType flat = wkbFlatten(wanted);
  if (flat != wkbUnknown && flat != wkbGeometryCollection &&
      flat != wkbFlatten(made->getGeometryType()))
    made.reset(OGRGeometryFactory::forceTo(made.release(), flat));
  if (OGR_GT_HasZ(wanted)) made->set3D(TRUE);
  if (OGR_GT_HasM(wanted)) made->setMeasured(TRUE);
  return made;
}

}  // namespace orlinths
