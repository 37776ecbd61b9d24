// What bands of every kind do alike with their cells: where a block lies on the raster, cells from
// one type of plane to another, statistics, values counted.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "data/RasterBand.h"

namespace orlinths {

/// Cells read or written between two looks for a stop request.
inline constexpr std::int64_t kCellsPerStep = std::int64_t{1} << 22;

/// Types below 4 share one sort of plane, and so do those from 10 on.
PixelType PlaneType(PixelType type);

/// The part of a block that lies on the raster: where it begins in either, and its size.
struct CellWindow {
  int column = 0, row = 0;            // of the raster
  int blockColumn = 0, blockRow = 0;  // of the block
  int columns = 0, rows = 0;          // 0 where they do not meet

  bool IsEmpty() const { return columns <= 0 || rows <= 0; }
  bool Fills(const IPixelBlock& block) const {
    return columns == block.Columns() && rows == block.Rows();
  }
  bool Has(int c, int r) const {
    return c >= blockColumn && c < blockColumn + columns && r >= blockRow && r < blockRow + rows;
  }
};
/// A fractional position is truncated towards zero. Error 6 for NaN.
CellWindow WindowOf(const IRasterProps& props, CellPosition position, const IPixelBlock& block);

/// Puts the window's cells, read as the band has them into `own` (of the window's size), into plane
/// 0 of the block, converted to its type: error 6 for what does not fit. What lies outside the
/// window and what is NoData become NoData there; the plane is widened where it has no value for
/// that.
void PutCells(const IPixelBlock& own, const CellWindow& window, IPixelBlock& block);

/// Calls `fn(Plane<T>, first row)` with the band's cells, strip by strip from the north.
template <class Fn>
void ForStrips(const IRasterBand& band, Fn&& fn) {
  const int width = band.Props().width, height = band.Props().height;
  const int step = static_cast<int>(std::clamp<std::int64_t>(kCellsPerStep / width, 1, height));
  for (int first = 0; first < height; first += step) {
    IPixelBlock strip = band.CreatePixelBlock(width, std::min(step, height - first));
    band.Read({0, static_cast<double>(first)}, strip);
    Visit(strip, 0, [&](auto plane) { fn(plane, first); });
  }
}

/// See `IRasterBand::Statistics`.
RasterStatistics StatisticsOf(const IRasterBand& band, int skipX, int skipY);

/// `Value` and `Count` of an integer band, ascending; nothing for a floating band and for one of
/// more than 65,536 different values.
std::unique_ptr<RasterAttributeTable> CountedTable(const IRasterBand& band);

}  // namespace orlinths
