// OGR geometry to plain geometry and back: coordinates copied array by array, no text or binary
// form in between.
#pragma once

#include <memory>

#include <ogr_geometry.h>

#include "numerics/Geometry.h"

namespace orlinths {

/// The plain type of an OGR geometry type, collections and curves included; kNull for what has none
/// of ours.
GeometryType PlainType(OGRwkbGeometryType type);

/// Which way the rings of a polygon run.
enum class RingDirection {
  kAsStored,  ///< of formats in which the direction tells shells from holes
  kByRole,  ///< shells clockwise, holes counter-clockwise: of formats that give the roles, whatever
            ///< the direction
};

/// Parts and rings in stored order; curves as line strings. Null and what has no plain type give a
/// null geometry; a collection the parts of its first member's type.
Geometry ToPlain(const OGRGeometry* shape, RingDirection direction);

/// A geometry that a layer of type `wanted` takes: single or multi as the layer is, multi where it
/// does not say. Rings of a polygon become shells and holes by how they lie. Nothing for null.
std::unique_ptr<OGRGeometry> ToOgr(const Geometry& shape, OGRwkbGeometryType wanted);

}  // namespace orlinths
