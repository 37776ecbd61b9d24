// Between a point layer and its density raster: the grid over an extent, the array of points, the
// raster.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "data/Raster.h"
#include "data/Table.h"
#include "kernel/Kernel.h"
#include "kernel/VolumeContours.h"

namespace orlinths {

/// Where the cells of a surface are: (originX, originY) is the lower-left corner.
struct KernelGrid {
  double originX = 0, originY = 0, cellSize = 0;
  std::int32_t columns = 0, rows = 0;
};

/// The grid over an extent with a margin of h and of one cell on each side, which no kernel leaves.
/// Error 11 for a cell size of 0, 6 for columns or rows beyond 32 bits, a platform error for the
/// extent of a layer that holds no points.
KernelGrid KernelGridOver(const Envelope& extent, double h, double cellSize);

/// The array of `count` points from a cursor: X, Y and the weight field's value, 1 without one.
/// Error 9 when it gives more, 91 for a point without shape, 94 for a weight that is null.
PointArray ReadPoints(ICursor& points, std::int64_t count, std::optional<int> weightField);

/// A new "GRID" of 32-bit floats with exact statistics, closed and open for reading. It has no
/// NoData: cells that no kernel reaches hold 0. Error 6 for a density beyond a float; nothing
/// stands under the name after a failure.
RasterDatasetPtr WriteSurface(const std::string& folder, const std::string& name,
                              const DensityGrid& surface, const KernelGrid& grid,
                              const SpatialReferencePtr& reference);

/// The surface as it was computed, counted between the exact minimum and maximum of what was
/// stored.
VolumeHistogram HistogramOf(const DensityGrid& surface, const IRasterDataset& stored,
                            std::int32_t topBin);

/// True when the folder holds a folder of that name: a "GRID" is one.
bool IsGridName(const std::string& folder, const std::string& name);

}  // namespace orlinths
