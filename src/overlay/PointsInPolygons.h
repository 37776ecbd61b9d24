// Attributes of the polygon under each point, copied into the points' own table.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "data/Layers.h"
#include "overlay/PointIntersection.h"

namespace orlinths {

/// A class of a sort that takes no new fields. No format that we open has them.
bool IsCoverage(const IFeatureClass& points);

/// Copies the given fields of the polygon layer (without names: all but geometry and blobs, the
/// FID as a whole number) into new fields of the points' table. Of several polygons under a point,
/// boundaries included, the one of the lowest OID counts; the layer's definition query keeps the
/// rest out, selections do not count. A point with no polygon under it keeps what the new fields
/// begin with.
///
/// The new fields are called like their sources, but "FID", "AREA" and "PERIMETER" (exactly so)
/// bear the beginning of the layer's name. A name that is taken is asked for once; when the answer
/// is taken too, that field and all behind it are left out.
///
/// True when all points were walked. Failures are reported here; fields and values written before
/// stay. One pass over the points and one over the polygons' table, whose copied fields are held in
/// memory; the place of a polygon is O(log polygons + log vertices).
bool ISectPntPoly(IFeatureClass& points, const IFeatureLayer& polygons, bool suppressWarnings,
                  const std::optional<std::vector<std::string>>& fieldNames,
                  IntersectReport& report, bool (*isCoverage)(const IFeatureClass&) = IsCoverage);

}  // namespace orlinths
