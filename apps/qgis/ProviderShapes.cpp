#include "qgis/ProviderShapes.h"

#include <qgscurvepolygon.h>
#include <qgsgeometry.h>
#include <qgsgeometrycollection.h>
#include <qgsgeometryfactory.h>
#include <qgslinestring.h>
#include <qgsmultilinestring.h>
#include <qgsmultipoint.h>
#include <qgsmultipolygon.h>
#include <qgspolygon.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "numerics/RingOrder.h"
#include "numerics/ShapeBuilder.h"

namespace orlinths {
namespace {

// ---- From QGIS

GeometryType TypeOf(const QgsAbstractGeometry& shape) {
  const auto* collection = qgsgeometry_cast<const QgsGeometryCollection*>(&shape);
  if (collection == nullptr ||
      QgsWkbTypes::flatType(shape.wkbType()) != QgsWkbTypes::GeometryCollection)
    return PlainType(shape.wkbType());
  for (int i = 0; i < collection->numGeometries(); ++i) {
    const GeometryType type = TypeOf(*collection->geometryN(i));
    if (type == GeometryType::kPoint) return GeometryType::kMultipoint;
    if (type != GeometryType::kNull) return type;
  }
  return GeometryType::kNull;
}

void AddLine(const QgsLineString& line, ShapeBuilder& builder) {
  const auto count = static_cast<std::size_t>(line.numPoints());
  const auto into = builder.AddPart(count, line.is3D(), line.isMeasure());
  const double *x = line.xData(), *y = line.yData();
  for (std::size_t i = 0; i < count; ++i) into.coords[i] = {x[i], y[i]};
  if (into.z != nullptr) std::copy_n(line.zData(), count, into.z);
  if (into.m != nullptr) std::copy_n(line.mData(), count, into.m);
}

void AddCurve(const QgsCurve& curve, ShapeBuilder& builder) {
  if (const auto* line = qgsgeometry_cast<const QgsLineString*>(&curve))
    return AddLine(*line, builder);
  const std::unique_ptr<QgsLineString> segments(curve.curveToLine());
  if (segments) AddLine(*segments, builder);
}

void AddPolygon(const QgsCurvePolygon& polygon, ShapeBuilder& builder) {
  if (polygon.exteriorRing() == nullptr) return;
  AddCurve(*polygon.exteriorRing(), builder);
  builder.TurnRing(true);
  for (int i = 0; i < polygon.numInteriorRings(); ++i) {
    AddCurve(*polygon.interiorRing(i), builder);
    builder.TurnRing(false);
  }
}

/// Members of another type than `type` are left out.
void AddAny(const QgsAbstractGeometry& shape, GeometryType type, ShapeBuilder& builder) {
  if (shape.isEmpty()) return;
  if (const auto* collection = qgsgeometry_cast<const QgsGeometryCollection*>(&shape)) {
    for (int i = 0; i < collection->numGeometries(); ++i)
      AddAny(*collection->geometryN(i), type, builder);
  } else if (const auto* point = qgsgeometry_cast<const QgsPoint*>(&shape)) {
    if (type == GeometryType::kMultipoint)
      builder.AddPoint(point->x(), point->y(), point->z(), point->m());
  } else if (const auto* curve = qgsgeometry_cast<const QgsCurve*>(&shape)) {
    if (type == GeometryType::kPolyline) AddCurve(*curve, builder);
  } else if (const auto* polygon = qgsgeometry_cast<const QgsCurvePolygon*>(&shape)) {
    if (type == GeometryType::kPolygon) AddPolygon(*polygon, builder);
  }
}

// ---- To QGIS

std::unique_ptr<QgsPoint> PointOf(const Point& p) {
  return std::make_unique<QgsPoint>(p.x, p.y, p.z, p.m);
}

std::unique_ptr<QgsLineString> LineOf(const Multipart& shape, int part) {
  const auto coords = shape.Part(part);
  const auto begin = static_cast<std::size_t>(shape.PartStart(part));
  const int count = static_cast<int>(coords.size());
  QVector<double> x(count), y(count), z, m;
  for (int i = 0; i < count; ++i) {
    x[i] = coords[static_cast<std::size_t>(i)].x;
    y[i] = coords[static_cast<std::size_t>(i)].y;
  }
  const auto take = [&](std::span<const double> from, QVector<double>& to) {
    to.resize(count);
    std::copy_n(from.begin() + static_cast<std::ptrdiff_t>(begin), count, to.begin());
  };
  if (shape.HasZ()) take(shape.Z(), z);
  if (shape.HasM()) take(shape.M(), m);
  return std::make_unique<QgsLineString>(x, y, z, m);
}

using Members = std::vector<std::unique_ptr<QgsAbstractGeometry>>;

Members PolygonsOf(const Polygon& polygon) {
  const std::vector<int> shells = ShellsOfRings(polygon);
  std::vector<QgsPolygon*> polygonOf(shells.size());
  Members members;
  for (std::size_t ring = 0; ring < shells.size(); ++ring) {
    if (shells[ring] >= 0) continue;
    auto single = std::make_unique<QgsPolygon>();
    single->setExteriorRing(LineOf(polygon, static_cast<int>(ring)).release());
    polygonOf[ring] = single.get();
    members.push_back(std::move(single));
  }
  for (std::size_t ring = 0; ring < shells.size(); ++ring)
    if (shells[ring] >= 0)
      polygonOf[static_cast<std::size_t>(shells[ring])]->addInteriorRing(
          LineOf(polygon, static_cast<int>(ring)).release());
  return members;
}

Members MembersOf(const Geometry& shape) {
  Members members;
  if (const auto* point = shape.As<Point>()) {
    members.push_back(PointOf(*point));
  } else if (const auto* points = shape.As<Multipoint>()) {
    for (std::int64_t i = 0; i < points->PointCount(); ++i)
      members.push_back(PointOf(points->PointAt(i)));
  } else if (const auto* line = shape.As<Polyline>()) {
    for (int part = 0; part < line->PartCount(); ++part) members.push_back(LineOf(*line, part));
  } else if (const auto* polygon = shape.As<Polygon>()) {
    members = PolygonsOf(*polygon);
  }
  return members;
}

std::unique_ptr<QgsGeometryCollection> MultiOf(const Geometry& shape) {
  if (shape.As<Polyline>() != nullptr) return std::make_unique<QgsMultiLineString>();
  if (shape.As<Polygon>() != nullptr) return std::make_unique<QgsMultiPolygon>();
  return std::make_unique<QgsMultiPoint>();
}

void TakeDimensions(QgsAbstractGeometry& shape, QgsWkbTypes::Type wanted) {
  if (wanted == QgsWkbTypes::Unknown) return;
  if (QgsWkbTypes::hasZ(wanted))
    shape.addZValue(0);
  else
    shape.dropZValue();
  if (QgsWkbTypes::hasM(wanted))
    shape.addMValue(0);
  else
    shape.dropMValue();
}

}  // namespace

GeometryType PlainType(QgsWkbTypes::Type type) {
  switch (QgsWkbTypes::flatType(QgsWkbTypes::linearType(type))) {
    case QgsWkbTypes::Point:
      return GeometryType::kPoint;
    case QgsWkbTypes::MultiPoint:
      return GeometryType::kMultipoint;
    case QgsWkbTypes::LineString:
    case QgsWkbTypes::MultiLineString:
      return GeometryType::kPolyline;
    case QgsWkbTypes::Polygon:
    case QgsWkbTypes::MultiPolygon:
    case QgsWkbTypes::Triangle:
      return GeometryType::kPolygon;
    default:
      return GeometryType::kNull;
  }
}

Geometry ToPlain(const QgsGeometry& shape) {
  Geometry plain;
  ToPlain(shape, plain);
  return plain;
}

void ToPlain(const QgsGeometry& shape, Geometry& into) {
  const QgsAbstractGeometry* held = shape.constGet();
  if (held == nullptr) {
    into = {};
  } else if (const auto* point = qgsgeometry_cast<const QgsPoint*>(held)) {
    Point plain;
    if (!point->isEmpty())
      plain = {.x = point->x(), .y = point->y(), .z = point->z(), .m = point->m()};
    if (Point* before = into.As<Point>())
      *before = plain;
    else
      into = plain;
  } else {
    const GeometryType type = TypeOf(*held);
    ShapeBuilder builder;
    AddAny(*held, type, builder);
    into = builder.Take(type);
  }
}

QgsGeometry ToQgis(const Geometry& shape, QgsWkbTypes::Type wanted) {
  if (shape.IsNull()) return {};
  std::unique_ptr<QgsAbstractGeometry> made;
  Members members = shape.IsEmpty() ? Members{} : MembersOf(shape);
  if (members.size() == 1 && !QgsWkbTypes::isMultiType(wanted)) {
    made = std::move(members.front());
  } else if (members.empty() && PlainType(wanted) != GeometryType::kNull) {
    made = QgsGeometryFactory::geomFromWkbType(wanted);
  } else {
    auto multi = MultiOf(shape);
    for (auto& member : members) multi->addGeometry(member.release());
    made = std::move(multi);
  }
  TakeDimensions(*made, wanted);
  return QgsGeometry(std::move(made));
}

}  // namespace orlinths
