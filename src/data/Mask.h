// An array of booleans over cells, indexed (row, column), with any lower bounds.
#pragma once

#include <cstdint>
#include <span>

#include "runtime/Arrays.h"

namespace orlinths {

/// 0 is false, 1 is true; false to begin with. `mask(row, column)` is bounds-checked (error 9);
/// loops run over rows.
using Mask = Array2<std::uint8_t>;

/// One row, from the mask's first column on. Error 9 for a row outside.
inline std::span<std::uint8_t> RowOf(Mask& mask, std::int64_t row) {
  const auto columns = static_cast<std::size_t>(mask.Second().Count());
  return mask.Data().subspan(static_cast<std::size_t>(mask.First().Offset(row)) * columns, columns);
}
inline std::span<const std::uint8_t> RowOf(const Mask& mask, std::int64_t row) {
  const auto columns = static_cast<std::size_t>(mask.Second().Count());
  return mask.Data().subspan(static_cast<std::size_t>(mask.First().Offset(row)) * columns, columns);
}

}  // namespace orlinths
