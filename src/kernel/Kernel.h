// Fixed-bandwidth quartic (biweight) kernel density of weighted points on a grid. Knows no layer
// and no raster: an array of points in, an array of densities out.
#pragma once

#include <cstdint>
#include <optional>

#include "runtime/Arrays.h"

namespace orlinths {

/// Points, (0 to N-1, 0 to 2): X, Y and weight (1 where no weights are used).
using PointArray = Array2<double>;
/// Densities, (column, row): columns grow east, rows grow south from the northern row 0. The row is
/// the index that runs fastest.
using DensityGrid = Array2<double>;

/// The density surface at the cells' centres, (0 to columns-1, 0 to rows-1): at each cell the sum
/// over the points, in their order, of
///   (1 - (d / h)^2)^2 * (scaling * 3 * weight) / (h^2 * pi) / N
/// for distances d strictly below h. N is the number of points and not the sum of the weights: the
/// integral over the plane is (sum of weights / N) * scaling. What lies off the grid is lost;
/// weights may be 0 or negative; nothing is dropped.
/// (originX, originY) is the grid's lower-left corner.
/// Nothing, after a report: error 11 for h or cellSize 0, 9 for a grid without cells, 7 for one
/// that memory cannot hold, 6 for a kernel beyond 32-bit columns and rows, 18 for a stop.
/// O(cells under the kernels), the grid once in memory and 16 bytes a point; yields.
std::optional<DensityGrid> SimpleKernel2(const PointArray& points, double h, double cellSize,
                                         double originX, double originY, std::int32_t columns,
                                         std::int32_t rows, double scaling);

/// One point's density, not divided by N, on the part of the grid under its kernel: (firstColumn to
/// lastColumn, firstRow to lastRow). A kernel wholly off the grid gives an array without cells.
/// Failures as above.
std::optional<DensityGrid> SimpleKernelPntComponent(double x, double y, double weight, double h,
                                                    double cellSize, double originX, double originY,
                                                    double scaling, std::int32_t maxColumn,
                                                    std::int32_t maxRow);

}  // namespace orlinths
