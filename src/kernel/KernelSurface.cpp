#include "kernel/KernelSurface.h"

#include <algorithm>

#include "data/RasterAccess.h"
#include "runtime/Arithmetic.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr std::int64_t kCellsOfStrip = 1 << 20;
constexpr int kColumnsAtOnce = 32;

std::int32_t CellsAlong(double length, double h, double cellSize) {
  const double cells = Int(Divide(2 * h + length + 2 * cellSize, cellSize));
  if (cells > std::numeric_limits<std::int32_t>::max())
    throw RuntimeError(ErrorNumber::kOverflow, std::string(Describe(ErrorNumber::kOverflow)) +
                                                   ": the grid would be " + ToText(cells) +
                                                   " cells wide or high. Use larger cells.");
  return ToLong(cells);
}

/// The surface's columns stand one behind the other, a plane's rows: a few columns at a time go
/// across, as many as fit beside each other near the processor.
template <class T>
void CopyRows(const DensityGrid& surface, int firstRow, const EditablePlane<T>& plane) {
  const double* cells = surface.Data().data();
  const std::int64_t rows = surface.Second().Count();
  for (int block = 0; block < plane.columns; block += kColumnsAtOnce) {
    const int end = std::min(block + kColumnsAtOnce, plane.columns);
    for (int row = 0; row < plane.rows; ++row) {
      const auto to = plane.Row(row);
      for (int column = block; column < end; ++column)
        to[static_cast<std::size_t>(column)] = ToCell<T>(cells[column * rows + firstRow + row]);
    }
  }
}

}  // namespace

KernelGrid KernelGridOver(const Envelope& extent, double h, double cellSize) {
  if (extent.IsEmpty()) throw RuntimeError::Platform("The layer holds no points.");
  return {.originX = extent.xMin - (cellSize + h),
          .originY = extent.yMin - (cellSize + h),
          .cellSize = cellSize,
          .columns = CellsAlong(extent.Width(), h, cellSize),
          .rows = CellsAlong(extent.Height(), h, cellSize)};
}

PointArray ReadPoints(ICursor& points, std::int64_t count, std::optional<int> weightField) {
  PointArray array({0, count - 1}, {0, 2});
  std::int64_t i = 0;
  while (const IFeature* feature = points.Next()) {
    const Point& at = feature->Point();
    array(i, 0) = at.x;
    array(i, 1) = at.y;
    array(i, 2) = weightField ? feature->GetDouble(*weightField) : 1.0;
    ++i;
  }
  return array;
}

RasterDatasetPtr WriteSurface(const std::string& folder, const std::string& name,
                              const DensityGrid& surface, const KernelGrid& grid,
                              const SpatialReferencePtr& reference) {
  const RasterDatasetPtr raster =
      CreateRasterDataset(OpenRasterWorkspace(folder), {.name = name,
                                                        .format = "GRID",
                                                        .origin = {grid.originX, grid.originY},
                                                        .columns = grid.columns,
                                                        .rows = grid.rows,
                                                        .cellSize = {grid.cellSize, grid.cellSize},
                                                        .bandCount = 1,
                                                        .pixelType = PixelType::kFloat,
                                                        .spatialReference = reference});
  IRasterBand& band = raster->Band(0);
  const auto stripRows = static_cast<std::int32_t>(
      std::clamp<std::int64_t>(kCellsOfStrip / grid.columns, 1, grid.rows));
  for (std::int64_t first = 0; first < grid.rows; first += stripRows) {
    IPixelBlock strip =
        band.CreatePixelBlock(grid.columns, std::min<std::int64_t>(stripRows, grid.rows - first));
    Edit(strip, 0, [&](const auto& plane) { CopyRows(surface, static_cast<int>(first), plane); });
    band.Write({0, static_cast<double>(first)}, strip);
  }
  band.ComputeStatsAndHist();
  raster->Close();
  return raster;
}

VolumeHistogram HistogramOf(const DensityGrid& surface, const IRasterDataset& stored,
                            std::int32_t topBin) {
  const RasterStatistics heights = stored.Band(0).Statistics(1, 1);
  VolumeHistogram histogram(topBin, heights.minimum, heights.maximum);
  histogram.Add(surface.Data());
  return histogram;
}

bool IsGridName(const std::string& folder, const std::string& name) {
  return !folder.empty() && files::FolderExists(JoinPath(folder, name));
}

}  // namespace orlinths
