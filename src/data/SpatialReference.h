// Spatial references and the way from one to another.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "numerics/Geometry.h"

namespace orlinths {

class ISpatialReference {
 public:
  virtual ~ISpatialReference() = default;
  virtual std::string Name() const = 0;  ///< "Unknown Coordinate System" for none
  virtual int FactoryCode() const = 0;   ///< the EPSG code; 0 where none is known
  virtual bool IsUnknown() const = 0;
  virtual std::string Wkt() const = 0;  ///< WKT 1 as GDAL writes it; empty for the unknown
};

/// Never null at a layer or class: what has no reference has `UnknownCoordinateSystem()`.
/// Immutable, so shared freely.
using SpatialReferencePtr = std::shared_ptr<const ISpatialReference>;

SpatialReferencePtr UnknownCoordinateSystem();
/// "EPSG:2169", WKT, PROJ text, or the text of a .prj. An empty text gives the unknown; a text that
/// is none raises a platform error.
SpatialReferencePtr SpatialReferenceFromText(const std::string& text);

/// 1 the same, 0 different (or one is nothing), -1 undefined: by factory code alone. Reports
/// failures under its own label.
class IGeoDataset;
int CheckSpatialReferenceSame(const IGeoDataset* a, const IGeoDataset* b);

/// Coordinates from one reference to another, x before y. Made once, used for many points.
class IProjection {
 public:
  virtual ~IProjection() = default;
  /// In place. A coordinate that cannot be projected raises a platform error; x and y are then
  /// unchanged from it on.
  virtual void Apply(std::span<Coord> coords) const = 0;
};

/// From or to an unknown reference, or between equal ones: leaves coordinates as they are, to the
/// last bit.
std::unique_ptr<IProjection> MakeProjection(const ISpatialReference& from,
                                            const ISpatialReference& to);
void Project(Geometry& shape, const IProjection& projection);
void Project(Point& point, const IProjection& projection);

}  // namespace orlinths
