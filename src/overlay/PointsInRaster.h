// The cell of a raster under each point, written into the points' own table.
#pragma once

#include <string>

#include "data/Layers.h"
#include "overlay/PointIntersection.h"

namespace orlinths {

struct RasterIntersection {
  bool suppressWarnings = false;   ///< the report alone tells of points outside
  bool ignoreProjections = false;  ///< no question when the references differ or are missing
  bool lowMemory = false;          ///< cells are read where points lie, never a band as a whole
  std::string fieldName = {};      ///< in place of one made from the layer's name
};

/// Rasters of more cells than this are always read in low-memory mode.
inline constexpr std::int64_t kWholeBandCells = 25'000'000;

/// Adds one field a band to the points' table, integer or double as the band is, and writes the
/// cell under every point of the class; selections and definition queries do not count. A point
/// outside gets the band's NoData value. Where there is nothing to write, the field stays as it
/// was: for an empty shape, and where NoData has no value of its own or that value is NaN.
///
/// The field bears the first 7 characters of the cleaned layer name, with "_b1", "_b2", ... when
/// there are several bands; a name that is taken is asked for until it is free. The X size of the
/// cells serves both axes; the north and west edges belong to the raster, the south and east edges
/// do not.
///
/// True when all bands were written. A No to a question about the references, a failure (reported
/// here) and a field that cannot be added give false; what was written stays. One pass over the
/// points a band; a whole band in memory, or some thousand cells in low-memory mode. Error 6 for a
/// value of an integer band beyond 32 bits.
bool ISectPntRaster(IFeatureClass& points, const IRasterLayer& layer, const RasterIntersection& how,
                    IntersectReport& report);

}  // namespace orlinths
