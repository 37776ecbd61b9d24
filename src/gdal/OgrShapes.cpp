#include "gdal/OgrShapes.h"

#include <algorithm>
#include <span>
#include <type_traits>

namespace orlinths {
namespace {

static_assert(sizeof(Coord) == sizeof(OGRRawPoint) && std::is_trivially_copyable_v<Coord>);

/// Gathers the parts of one shape.
class Parts {
 public:
  explicit Parts(RingDirection direction) : direction_(direction) {}

  void Add(const OGRSimpleCurve& curve) {
    const int count = curve.getNumPoints();
    const std::size_t begin = coords_.size(), end = begin + static_cast<std::size_t>(count);
    starts_.push_back(static_cast<std::int32_t>(begin));
    coords_.resize(end);
    if (count == 0) return;
    const bool hasZ = curve.Is3D(), hasM = curve.IsMeasured();
    if (hasZ) z_.resize(begin, 0);
    if (hasM) m_.resize(begin, Point::kNone);
    if (hasZ || !z_.empty()) z_.resize(end, 0);
    if (hasM || !m_.empty()) m_.resize(end, Point::kNone);
    // Into the array itself: the layouts agree.
    curve.getPoints(&coords_[begin].x, sizeof(Coord), &coords_[begin].y, sizeof(Coord),
                    hasZ ? &z_[begin] : nullptr, sizeof(double), hasM ? &m_[begin] : nullptr,
                    sizeof(double));
  }
  void Add(const OGRPoint& p) {
    if (p.IsEmpty()) return;
    if (starts_.empty()) starts_.push_back(0);
    if (p.Is3D() || !z_.empty()) {
      z_.resize(coords_.size(), 0);
      z_.push_back(p.Is3D() ? p.getZ() : 0);
    }
    if (p.IsMeasured() || !m_.empty()) {
      m_.resize(coords_.size(), Point::kNone);
      m_.push_back(p.IsMeasured() ? p.getM() : Point::kNone);
    }
    coords_.push_back({p.getX(), p.getY()});
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
  template <class T>
  Geometry Take() {
    T shape;
    if (!coords_.empty())
      shape.Assign(std::move(coords_), std::move(starts_), std::move(z_), std::move(m_));
    return shape;
  }

 private:
  void AddRing(const OGRLinearRing& ring, bool isShell) {
    Add(ring);
    if (direction_ == RingDirection::kAsStored) return;
    const auto begin = starts_.back();
    const double area = SignedRingArea(std::span(coords_).subspan(static_cast<std::size_t>(begin)));
    if (!(isShell ? area < 0 : area > 0)) return;
    std::reverse(coords_.begin() + begin, coords_.end());
    for (std::vector<double>* ordinates : {&z_, &m_})
      if (!ordinates->empty()) std::reverse(ordinates->begin() + begin, ordinates->end());
  }

  RingDirection direction_;
  std::vector<Coord> coords_;
  std::vector<std::int32_t> starts_;
  std::vector<double> z_, m_;
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
  switch (type) {
    case GeometryType::kMultipoint:
      return parts.Take<Multipoint>();
    case GeometryType::kPolyline:
      return parts.Take<Polyline>();
    case GeometryType::kPolygon:
      return parts.Take<Polygon>();
    default:
      return {};
  }
}

Geometry EmptyShape(GeometryType type) {
  switch (type) {
    case GeometryType::kPoint:
      return Point();
    case GeometryType::kMultipoint:
      return Multipoint();
    case GeometryType::kPolyline:
    case GeometryType::kLine:
      return Polyline();
    case GeometryType::kPolygon:
      return Polygon();
    default:
      return {};
  }
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
