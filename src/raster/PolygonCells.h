// The cells of a raster whose centres lie in a polygon, gathered into one list: from a band held in
// memory, or by one read of the polygon's own rectangle.
#pragma once

#include <cstdint>
#include <vector>

#include "data/Mask.h"
#include "data/PixelBlock.h"
#include "data/RasterBand.h"
#include "numerics/Geometry.h"

namespace orlinths {

// Both fill `values`, which keeps its memory from one polygon to the next, row by row from the
// north. `Number` is std::int32_t for an integer raster and double for a floating one. A cell that
// is NoData counts as kMissing, or is left out when `keepNoData` is false; a polygon without any
// entry gives a single kMissing. Which cells lie inside is what `GetPolyRasterArray2` says.
//
// A failure is reported with the row at which it came up; then the list is empty and the result is
// false. A cell that does not fit `Number` is error 6.
// Cost: that of the fill, and a few nanoseconds for each cell inside.

/// `block` holds the whole band. `noDataMask` is `GetNoDataArr2`'s, or nothing: then a NoData cell
/// counts with the band's NoData value (error 94 in a band without one). Error 9 when the fill is
/// true at a place past the raster's last row or column.
template <class Number>
bool ISectArrPolyRaster(const Polygon& polygon, const IPixelBlock& block, const IRasterProps& props,
                        bool keepNoData, const Mask* noDataMask, std::vector<Number>& values);

/// Reads the fill's rectangle from `rawPixels`; places past the raster's edge count as NoData. In a
/// band without NoData value nothing is NoData: `keepNoData` comes back false, and places without a
/// cell are left out.
template <class Number>
bool ISectArrPolyLargeRaster(const Polygon& polygon, const IRasterBand& rawPixels,
                             const IRasterProps& props, bool& keepNoData,
                             std::vector<Number>& values);

}  // namespace orlinths
