// Gathering the cells of a block that lie under a mask.
#pragma once

#include <vector>

#include "data/Mask.h"
#include "data/PixelBlock.h"
#include "data/RasterBand.h"
#include "runtime/Value.h"

namespace orlinths {

/// The cells of band 0 where `mask` is true and `except`, if there is one, is false: row by row,
/// each from west to east; masks are indexed by the block's rows and columns. 32-bit integers for
/// an integer raster, doubles for a floating one; a NoData cell gives the band's NoData value. One
/// empty value when no cell is taken, none at all after a failure, which is reported with the row:
/// error 9 for a cell outside the block or a mask of another shape, 6 for a value beyond 32 bits,
/// 94 for a NoData cell of a band without NoData value. O(cells of the mask).
std::vector<Value> ISectArrRaster(const Mask& mask, const IPixelBlock& block,
                                  const IRasterProps& props, const Mask* except = nullptr);

/// The same cells as plain numbers, for those who count many windows: `cells` is emptied first and
/// may be used again. Failures are raised, with `row` at the row where they happened.
void GatherMaskedCells(const Mask& mask, const IPixelBlock& block, const IRasterProps& props,
                       const Mask* except, std::vector<double>& cells, std::int64_t& row);

}  // namespace orlinths
