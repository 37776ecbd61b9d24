// Small rasters in sight of the test that uses them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "data/Mask.h"
#include "data/RasterBand.h"

namespace orlinths {

/// The number of the run-time error that `body` raises, 0 for none.
inline int ErrorFrom(const std::function<void()>& body) {
  try {
    body();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

/// Rows of cells as they lie on the map, north first.
using Rows = std::vector<std::vector<double>>;

inline IPixelBlock BlockOf(const Rows& rows, PixelType type = PixelType::kInt32,
                           std::optional<double> noData = std::nullopt) {
  IPixelBlock block(std::ssize(rows.front()), std::ssize(rows), type, noData);
  for (std::size_t row = 0; row < rows.size(); ++row)
    for (std::size_t column = 0; column < rows[row].size(); ++column)
      block.SetVal(0, static_cast<std::int64_t>(column), static_cast<std::int64_t>(row),
                   rows[row][column]);
  return block;
}

/// The raw cells of a block, markers and all.
inline Rows RowsOf(const IPixelBlock& block) {
  return Visit(block, 0, [](auto plane) {
    Rows rows;
    for (int row = 0; row < plane.rows; ++row) {
      rows.emplace_back();
      for (const auto v : plane.Row(row)) rows.back().push_back(static_cast<double>(v));
    }
    return rows;
  });
}

/// "010" for each row, north first.
inline std::vector<std::string> Drawn(const Mask& mask) {
  std::vector<std::string> rows;
  for (std::int64_t row = mask.First().lower; row <= mask.First().upper; ++row) {
    rows.emplace_back();
    for (const std::uint8_t cell : RowOf(mask, row)) rows.back() += cell ? '1' : '0';
  }
  return rows;
}

inline Mask MaskFrom(const std::vector<std::string>& rows, std::int64_t firstRow = 0,
                     std::int64_t firstColumn = 0) {
  Mask mask({firstRow, firstRow + std::ssize(rows) - 1},
            {firstColumn, firstColumn + std::ssize(rows.front()) - 1});
  for (std::size_t row = 0; row < rows.size(); ++row)
    for (std::size_t column = 0; column < rows[row].size(); ++column)
      mask(firstRow + static_cast<std::int64_t>(row),
           firstColumn + static_cast<std::int64_t>(column)) = rows[row][column] == '1';
  return mask;
}

inline IRasterProps PropsWith(int columns, int rows, double xMin = 0, double yMin = 0,
                              CellSize size = {1, 1}) {
  IRasterProps props;
  props.width = columns;
  props.height = rows;
  props.meanCellSize = size;
  props.extent = {xMin, yMin, xMin + columns * size.x, yMin + rows * size.y};
  return props;
}

}  // namespace orlinths
