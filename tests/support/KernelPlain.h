// The kernel density as its formula stands, cell by cell and point by point: what the fast way is
// measured against.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "runtime/Arrays.h"

namespace orlinths {

/// The second power rounded once, as compilers take std::pow(v, 2.0). The library's general
/// routine, left to itself, is off by the last bit for one number in a thousand.
inline double Squared(double v) { return v * v; }

inline Array2<double> SimpleKernelPntComponentPlain(double x, double y, double weight, double h,
                                                    double cellSize, double originX, double originY,
                                                    double scaling, std::int32_t maxColumn,
                                                    std::int32_t maxRow) {
  const auto floored = [](double v) { return static_cast<std::int32_t>(std::floor(v)); };
  std::int32_t firstColumn = floored((x - h - originX) / cellSize);
  std::int32_t lastColumn = floored((h + x - originX) / cellSize);
  std::int32_t firstRow = maxRow - floored((h + y - originY) / cellSize);
  std::int32_t lastRow = maxRow - floored((y - h - originY) / cellSize);
  firstColumn = std::max(firstColumn, 0);
  firstRow = std::max(firstRow, 0);
  lastColumn = std::max(std::min(lastColumn, maxColumn), firstColumn - 1);
  lastRow = std::max(std::min(lastRow, maxRow), firstRow - 1);
  Array2<double> part({firstColumn, lastColumn}, {firstRow, lastRow});
  const double x0 = firstColumn * cellSize + originX + cellSize / 2;
  const double y0 = (maxRow - firstRow) * cellSize + originY + cellSize / 2;
  for (std::int32_t column = firstColumn; column <= lastColumn; ++column) {
    const double cellX = (column - firstColumn) * cellSize + x0;
    for (std::int32_t row = firstRow; row <= lastRow; ++row) {
      const double cellY = y0 - (row - firstRow) * cellSize;
      const double d = std::sqrt(Squared(cellY - y) + Squared(cellX - x));
      if (d < h)
        part(column, row) = Squared(1 - Squared(d / h)) * (scaling * 3.0 * weight) /
                            (Squared(h) * 3.14159265358979);
    }
  }
  return part;
}

inline Array2<double> SimpleKernel2Plain(const Array2<double>& points, double h, double cellSize,
                                         double originX, double originY, std::int32_t columns,
                                         std::int32_t rows, double scaling) {
  const std::int64_t n = points.First().upper + 1;
  Array2<double> grid({0, columns - 1}, {0, rows - 1});
  for (std::int64_t point = 0; point < n; ++point) {
    const Array2<double> part =
        SimpleKernelPntComponentPlain(points(point, 0), points(point, 1), points(point, 2), h,
                                      cellSize, originX, originY, scaling, columns - 1, rows - 1);
    for (auto column = part.First().lower; column <= part.First().upper; ++column)
      for (auto row = part.Second().lower; row <= part.Second().upper; ++row)
        grid(column, row) += part(column, row) / static_cast<double>(n);
  }
  return grid;
}

}  // namespace orlinths
